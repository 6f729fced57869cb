// Stand-in for the unified log's header in the cross-check, whose compiler lacks it.
// The calls type-check their formats as the system's own do, and then do nothing: what
// the check links is never run.
#pragma once

#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct os_log_s* os_log_t;
typedef uint8_t os_log_type_t;

enum {
  OS_LOG_TYPE_DEFAULT = 0x00,
  OS_LOG_TYPE_INFO = 0x01,
  OS_LOG_TYPE_DEBUG = 0x02,
  OS_LOG_TYPE_ERROR = 0x10,
  OS_LOG_TYPE_FAULT = 0x11
};

os_log_t os_log_create(const char* subsystem, const char* category);
bool os_log_type_enabled(os_log_t log, os_log_type_t type);

__attribute__((format(os_log, 3, 4))) static inline void os_log_stand_in(os_log_t log,
                                                                         os_log_type_t type,
                                                                         const char* format,
                                                                         ...) {
  (void)log;
  (void)type;
  (void)format;
}

#ifdef __cplusplus
}
#endif

#define OS_LOG_DEFAULT ((os_log_t)0)

// As with the system's header, the format has to be a literal.
#define os_log_with_type(log, type, ...) os_log_stand_in((log), (type), "" __VA_ARGS__)
#define os_log(log, ...) os_log_with_type(log, OS_LOG_TYPE_DEFAULT, __VA_ARGS__)
#define os_log_info(log, ...) os_log_with_type(log, OS_LOG_TYPE_INFO, __VA_ARGS__)
#define os_log_debug(log, ...) os_log_with_type(log, OS_LOG_TYPE_DEBUG, __VA_ARGS__)
#define os_log_error(log, ...) os_log_with_type(log, OS_LOG_TYPE_ERROR, __VA_ARGS__)
#define os_log_fault(log, ...) os_log_with_type(log, OS_LOG_TYPE_FAULT, __VA_ARGS__)
