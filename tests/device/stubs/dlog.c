#include "platform/dlog.h"

#include <stdarg.h>
#include <stdio.h>

int __dlog_print(log_id_t log_id, int priority, const char* tag, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    fprintf(stderr, "%d %d %s ", (int)log_id, priority, tag);
    vfprintf(stderr, format, arguments);
    fputc('\n', stderr);
    va_end(arguments);
    return 0;
}
