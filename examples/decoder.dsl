-- 3-to-8 decoder, synthesis source
USE 'mux4';
USE 'alu' ;
INCLUDE 'pins.inc';
CHIP decoder 22V10
