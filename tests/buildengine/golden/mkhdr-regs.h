/* Register definitions of map.xml, written by mkhdr. */
#ifndef REGS_H
#define REGS_H

#include <stdint.h>

/* FLASH */
#define FLASH_BASE 0x08000000U
#define FLASH_SIZE 0x00020000U

/* GPIO_A */
#define GPIO_A_BASE 0x40020000U
#define GPIO_A_MODER (*(volatile uint32_t *)0x40020000U)
#define GPIO_A_MODER_ADDRESS 0x40020000U
#define GPIO_A_MODER_MODE1_BIT 2
#define GPIO_A_MODER_MODE1_MASK 0x0000000CU
#define GPIO_A_ODR (*(volatile uint16_t *)0x40020014U)
#define GPIO_A_ODR_ADDRESS 0x40020014U
#define GPIO_A_9LIVES (*(volatile uint32_t *)0x00000400U)
#define GPIO_A_9LIVES_ADDRESS 0x00000400U

#endif
