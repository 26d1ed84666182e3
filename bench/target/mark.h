/* Tells the emulator's plugin where a count begins or ends: the benchmark closes a descriptor that
 * no program has. */
#ifndef TALVERA_BENCH_TARGET_MARK_H
#define TALVERA_BENCH_TARGET_MARK_H

#define MARK 0x7A11E7A0
#define MARK_SYSTEM_CALL 4006 /* close() of 32-bit MIPS */

#endif
