/* A first program for the NX32G4: blinks the LED on PA5 and echoes what USART1 receives. The
 * register names come from nx32g4_regs.h, which the build writes from the memory map. */
#include "nx32g4_regs.h"

static volatile uint32_t ticks;
static uint8_t line[64];
static uint32_t line_length;
static const char banner[] = "NX32G4 ready\r\n";

void SysTick_Handler(void)
{
    ++ticks;
}

static void clock_init(void)
{
#ifdef CLOCK_PLL
    RCC_CR |= RCC_CR_HSEON_MASK;
    while (!(RCC_CR & RCC_CR_HSERDY_MASK)) {
    }
    RCC_CR |= RCC_CR_PLLON_MASK;
    while (!(RCC_CR & RCC_CR_PLLRDY_MASK)) {
    }
    RCC_CFGR = (RCC_CFGR & ~RCC_CFGR_SW_MASK) | (RCC_CFGR_SW_PLL << RCC_CFGR_SW_BIT);
#endif
    RCC_AHB1ENR |= RCC_AHB1ENR_GPIOAEN_MASK;
    RCC_APB2ENR |= RCC_APB2ENR_USART1EN_MASK;
}

static void send(const char *text)
{
    for (; *text; ++text) {
        while (!(USART1_SR & USART1_SR_TXE_MASK)) {
        }
        USART1_DR = (uint8_t)*text;
    }
}

int main(void)
{
    clock_init();
    GPIOA_MODER = (GPIOA_MODER & ~GPIOA_MODER_MODE5_MASK)
                | (GPIOA_MODER_MODE5_OUTPUT << GPIOA_MODER_MODE5_BIT);
    USART1_BRR = 0x683;
    USART1_CR1 = USART1_CR1_UE_MASK | USART1_CR1_TE_MASK | USART1_CR1_RE_MASK;
    SYSTICK_LOAD = 16000 - 1;
    SYSTICK_CTRL = SYSTICK_CTRL_ENABLE_MASK | SYSTICK_CTRL_TICKINT_MASK;
    send(banner);
    for (;;) {
        if (ticks >= 500) {
            ticks = 0;
            GPIOA_ODR ^= 1u << 5;
        }
        if (USART1_SR & USART1_SR_RXNE_MASK) {
            line[line_length++ % sizeof line] = (uint8_t)USART1_DR;
        }
    }
}
