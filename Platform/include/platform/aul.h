/* Application status: which application runs, is shown, has the focus. Any thread. */
#ifndef PLATFORM_AUL_H
#define PLATFORM_AUL_H

#ifdef __cplusplus
extern "C" {
#endif

/* A status signal; arrives on a thread of the platform's choice. None is under way any more when unregistering returns,
   except the one that unregisters from inside itself. */
typedef int (*aul_app_status_fn)(int pid, int status, void* data);

int aul_listen_app_status_signal(aul_app_status_fn handler, void* data); /* -1 on failure; (NULL, NULL) unregisters */
int aul_app_get_appid_bypid(int pid, char* appid, int length);
int aul_app_get_status(const char* appid);

#ifdef __cplusplus
}
#endif

#endif
