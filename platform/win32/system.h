#ifndef PLATFORM_WIN32_SYSTEM_H
#define PLATFORM_WIN32_SYSTEM_H

// The first header of every source file, by a flag of the compiler's: libcurl's headers include the
// system's, whose macros would give other names to operations of ours.

#include <windows.h>
#include <winsock2.h>

#undef GetMessage
#undef GetUserName
#undef SetPort

#endif  // PLATFORM_WIN32_SYSTEM_H
