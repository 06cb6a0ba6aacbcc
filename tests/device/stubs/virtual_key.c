/* Keys as lines. */
#include "platform/virtual_key.h"

#include <stdio.h>

int VirtualKey_Initialize(const char* client_name) {
    (void)client_name;
    return 1;
}
int VirtualKey_Send_KeyCode(int key_code, int action) {
    printf("key %d action %d\n", key_code, action);
    return fflush(stdout) == 0;
}
void VirtualKey_Finalize(void) {}
