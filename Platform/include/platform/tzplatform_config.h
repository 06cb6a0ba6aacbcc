/* The platform's directories. Any thread. */
#ifndef PLATFORM_TZPLATFORM_CONFIG_H
#define PLATFORM_TZPLATFORM_CONFIG_H

#ifdef __cplusplus
extern "C" {
#endif

const char* tzplatform_getenv(int id); /* the library's own memory; never freed by the caller */

#ifdef __cplusplus
}
#endif

#endif
