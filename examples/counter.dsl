-- 4-bit counter, synthesis source
CHIP counter 22V10
PIN 1 clk
PIN 14..17 q[3..0]
EQUATIONS
q := q + 1
