@INDEX
symloc hdr2x1 00000000 00000060
*package hdr2x1
d Header, one row of two
{hdr2x1 footprint}
