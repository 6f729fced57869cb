// Stand-in for the header of the standard folders in the cross-check, whose compiler
// lacks it. The functions themselves are in the system library's stub. Only what names
// the application support folder is declared.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

typedef enum { SYSDIR_DIRECTORY_APPLICATION_SUPPORT = 14 } sysdir_search_path_directory_t;
typedef enum { SYSDIR_DOMAIN_MASK_USER = 1 << 0 } sysdir_search_path_domain_mask_t;
typedef unsigned int sysdir_search_path_enumeration_state;

sysdir_search_path_enumeration_state sysdir_start_search_path_enumeration(
    sysdir_search_path_directory_t directory, sysdir_search_path_domain_mask_t domains);
sysdir_search_path_enumeration_state sysdir_get_next_search_path_enumeration(
    sysdir_search_path_enumeration_state state, char* path);

#ifdef __cplusplus
}
#endif
