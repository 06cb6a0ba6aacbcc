/* The screensaver. Any thread. */
#ifndef PLATFORM_SCREENSAVER_H
#define PLATFORM_SCREENSAVER_H

#ifdef __cplusplus
extern "C" {
#endif

int screensaver_reset(void); /* 0 on success */

#ifdef __cplusplus
}
#endif

#endif
