/* Register addresses of map.xml, written by mkhdr. */
#ifndef REGS_H
#define REGS_H

#include <stdint.h>

#define FLASH_BASE 0x8000000
#define GPIO_A_BASE 0x40020000
#define MODER (*(volatile uint32_t *)0x40020000)
#define MODER_ADDRESS 0x40020000
#define MODER_MODE1_BIT 2
#define MODER_MODE1_MASK 0xc
#define ODR (*(volatile uint16_t *)0x40020014)
#define ODR_ADDRESS 0x40020014
#define _9LIVES (*(volatile uint32_t *)0x400)
#define _9LIVES_ADDRESS 0x400

#endif
