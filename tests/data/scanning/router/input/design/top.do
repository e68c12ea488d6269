# router commands
load design sub/route.dsn now
bestsave keep\best.w
write session ../out/x.ses
grid  wire 5
a   bcdefg
use C:stuff
save nodir\file.w

quit
