#include "platform/assert.h"

#include <stdio.h>

void _ASSERT(const char* expression, const char* file, int line) {
    fprintf(stderr, "%s:%d: %s\n", file, line, expression);
}
