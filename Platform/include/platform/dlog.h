/* Logging. Any thread may log at any time, also before every other platform function was called. */
#ifndef PLATFORM_DLOG_H
#define PLATFORM_DLOG_H

#ifdef __cplusplus
extern "C" {
#endif

typedef enum { LOG_ID_MAIN = 0, LOG_ID_SYSTEM = 2 } log_id_t;
typedef enum { DLOG_DEBUG = 3, DLOG_INFO = 4, DLOG_ERROR = 6 } log_priority;

/* One message, formatted as printf does. The result is not looked at by the service. */
int __dlog_print(log_id_t log_id, int priority, const char* tag, const char* format, ...)
    __attribute__((format(printf, 4, 5)));

#ifdef __cplusplus
}
#endif

#endif
