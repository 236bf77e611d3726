#pragma once

// Sets a speed outside the standard rates in both directions, for drivers that take any rate.
// Returns 0, or the errno of the refusal. Lives apart from the termios code because the kernel's
// structures for it clash with the C library's.
int setCustomSerialSpeed(int descriptor, int baud);
