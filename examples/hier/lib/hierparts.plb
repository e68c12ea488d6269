@INDEX
symloc R1206 00000000 00000066
symloc R1206HP:R1206 00000066 00000058
symloc SOT23 00000124 00000080
*package R1206
d 1206 chip resistor
t 1 0 0 40 60
t 2 120 0 40 60
*package R1206HP
d 1206 precision resistor, pads of R1206
*package SOT23
d SOT-23 transistor
t 1 0 0 20 30
t 2 40 0 20 30
t 3 20 60 20 30
