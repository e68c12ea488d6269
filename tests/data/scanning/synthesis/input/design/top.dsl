-- counter
USE 'mux4.afb';
use mux8
USE 'lib\adder' ;
USED 'odd'
INCLUDE 'defs.inc';
INCLUDE "nq.inc"
  USE 'indented'
CHIP counter 22V10
