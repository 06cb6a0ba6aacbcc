/* The assertion routine: reports a misuse and returns to its caller. Any thread. */
#ifndef PLATFORM_ASSERT_H
#define PLATFORM_ASSERT_H

#ifdef __cplusplus
extern "C" {
#endif

void _ASSERT(const char* expression, const char* file, int line);

#ifdef __cplusplus
}
#endif

#endif
