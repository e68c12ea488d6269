x
