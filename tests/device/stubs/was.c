/* No application is known, and none is answered about. */
#include "platform/was.h"

int was_request_appid_by_runtitle(const char* runtitle, const char* etag, was_appid_fn callback, void* user_data) {
    (void)runtitle, (void)etag, (void)callback, (void)user_data;
    return -1;
}
