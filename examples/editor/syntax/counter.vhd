-- A counter with a synchronous reset
library ieee;
use ieee.std_logic_1164.all;
entity counter is
  port (clk, reset : in std_logic; q : out unsigned(7 downto 0));
end entity;
