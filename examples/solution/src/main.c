#include "board.h"

int main(void)
{
    board_init();
    for (;;)
        blink();
}
