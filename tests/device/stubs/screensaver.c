#include "platform/screensaver.h"

int screensaver_reset(void) {
    return 0;
}
