/* The app-store manager. Any thread. */
#ifndef PLATFORM_WAS_H
#define PLATFORM_WAS_H

#ifdef __cplusplus
extern "C" {
#endif

typedef int was_app_status_e; /* signed 32-bit */

/* The answer; arrives on a thread of the library's. The texts are the library's, valid during the call. */
typedef void (*was_appid_fn)(const char* app_id, was_app_status_e status, const char* etag, void* user_data);

/* 0: the query has started and is answered exactly once; otherwise it is not answered. */
int was_request_appid_by_runtitle(const char* runtitle, const char* etag, was_appid_fn callback, void* user_data);

#ifdef __cplusplus
}
#endif

#endif
