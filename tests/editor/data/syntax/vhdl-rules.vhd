-- VHDL comment
library IEEE;
use ieee.std_logic_1164.ALL;
entity Counter is
  port (clk : in std_logic; q : out std_logic_vector(7 downto 0));
end entity;
architecture rtl of Counter is
begin
  q <= x"FF" when clk'event and clk = '1' else (others => '0'); -- NOTE tag
end architecture;
