@INDEX
symloc R0805 00000000 00000065
symloc C0805 00000065 00000066
symloc TO92 00000131 00000083
*package R0805
d 0805 chip resistor
t 1 0 0 30 50
t 2 80 0 30 50
*package C0805
d 0805 chip capacitor
t 1 0 0 30 50
t 2 80 0 30 50
*package TO92
d TO-92 transistor body
t 1 0 0 30 30
t 2 50 0 30 30
t 3 100 0 30 30
