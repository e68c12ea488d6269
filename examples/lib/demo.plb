@INDEX
symloc R0805        0       65
symloc C0805       65       66
*package R0805
d 0805 chip resistor
t 1 0 0 30 50
t 2 80 0 30 50
*package C0805
d 0805 chip capacitor
t 1 0 0 30 50
t 2 80 0 30 50
