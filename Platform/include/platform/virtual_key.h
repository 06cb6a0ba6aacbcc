/* Key injection. Any thread. */
#ifndef PLATFORM_VIRTUAL_KEY_H
#define PLATFORM_VIRTUAL_KEY_H

#ifdef __cplusplus
extern "C" {
#endif

enum { KEY_ACTION_RELEASE = 0, KEY_ACTION_PRESS = 1, KEY_ACTION_AUTO_PRESS_RELEASE = 2 };

int VirtualKey_Initialize(const char* client_name); /* 1 on success */

/* key_code: a Linux input key number plus 8. */
int VirtualKey_Send_KeyCode(int key_code, int action);
void VirtualKey_Finalize(void);

#ifdef __cplusplus
}
#endif

#endif
