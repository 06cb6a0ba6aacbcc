/* No application has the focus. */
#include "platform/aul.h"

int aul_listen_app_status_signal(aul_app_status_fn handler, void* data) {
    (void)handler, (void)data;
    return 0;
}
int aul_app_get_appid_bypid(int pid, char* appid, int length) {
    (void)pid, (void)appid, (void)length;
    return -1;
}
int aul_app_get_status(const char* appid) {
    (void)appid;
    return -1;
}
