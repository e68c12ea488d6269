@INDEX
symloc dip8 00000000 00000056
*package dip8
d Eight pin dual in line
{dip8 footprint}
