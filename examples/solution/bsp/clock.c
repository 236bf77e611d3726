#include "board.h"

void board_init(void)
{
    clock_init();
}
