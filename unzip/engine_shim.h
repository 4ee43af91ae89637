#pragma once

/* Included in front of each of the engine's sources by the compiler's command line, so that those
 * can be compiled as they are. */

#include <malloc.h>
#include <stdlib.h>

/* An entry that claims 0xFFFFFFFF bytes makes the engine ask for that plus one, which is 0 in its
 * 32-bit arithmetic, and then write 4 GiB behind the block. No block for no bytes stops that. */
static __inline void* EngineAllocate(size_t size) { return size != 0 ? malloc(size) : NULL; }
#define malloc(size) EngineAllocate(size)

/* Each call would set the locale of the C runtime, which the whole process shares. (Not on the
 * command line: CMake passes no macros with parameters.) */
#define SETLOCALE(category, locale) ((void)0)

/* Debian's check for overlapping entries calls readbuf without the context that the functions of a
 * DLL build take first. */
#define ENGINE_READBUF_2(buffer, size) readbuf(pG, buffer, size)
#define ENGINE_READBUF_3(context, buffer, size) readbuf(context, buffer, size)
#define ENGINE_PICK_THIRD(a, b, c, name, ...) name
#define readbuf(...) \
  ENGINE_PICK_THIRD(__VA_ARGS__, ENGINE_READBUF_3, ENGINE_READBUF_2, 0)(__VA_ARGS__)
