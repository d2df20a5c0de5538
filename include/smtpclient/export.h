#ifndef SMTPCLIENT_EXPORT_H
#define SMTPCLIENT_EXPORT_H

/// Marks the functions that the shared library exports; everything else in it is hidden. On Windows
/// a list that the linker gets says the same, and a host needs no mark.
#ifdef _WIN32
#define SMTPCLIENT_API
#else
#define SMTPCLIENT_API [[gnu::visibility("default")]]
#endif

#endif  // SMTPCLIENT_EXPORT_H
