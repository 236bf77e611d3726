/* Start-up code of the NX32G4: the vector table at the start of flash, and the reset handler,
 * which copies the initial values of .data from flash to RAM, clears .bss and calls main. The
 * section boundaries come from nx32g4.ld. */
#include <stdint.h>

extern uint32_t __data_load_start__[], __data_start__[], __data_end__[];
extern uint32_t __bss_start__[], __bss_end__[], __stack_end__[];

int main(void);
void Reset_Handler(void);
void Default_Handler(void);

void Default_Handler(void)
{
    for (;;) {
    }
}

void NMI_Handler(void) __attribute__((weak, alias("Default_Handler")));
void HardFault_Handler(void) __attribute__((weak, alias("Default_Handler")));
void SysTick_Handler(void) __attribute__((weak, alias("Default_Handler")));
void USART1_Handler(void) __attribute__((weak, alias("Default_Handler")));

/* Entry 0 is the initial stack pointer; the numbers are those of the memory map's vectors. */
__attribute__((section(".vectors"), used)) void (*const vector_table[70])(void) = {
    [0] = (void (*)(void))__stack_end__,
    [1] = Reset_Handler,
    [2] = NMI_Handler,
    [3] = HardFault_Handler,
    [15] = SysTick_Handler,
    [53] = USART1_Handler,
};

void Reset_Handler(void)
{
    uint32_t *from = __data_load_start__;
    for (uint32_t *to = __data_start__; to < __data_end__;)
        *to++ = *from++;
    for (uint32_t *to = __bss_start__; to < __bss_end__;)
        *to++ = 0;
    main();
    Default_Handler();
}
