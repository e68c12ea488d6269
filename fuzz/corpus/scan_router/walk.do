a   bcdefg
load sub/x.dsn
#c
