@INDEX
symloc rc05 00000000 00000058
symloc ck05 00000058 00000050
*package rc05
d Axial resistor, 0.5 inch
{rc05 footprint}
*package ck05
d Radial capacitor
{ck05 footprint}
