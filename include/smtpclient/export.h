#ifndef SMTPCLIENT_EXPORT_H
#define SMTPCLIENT_EXPORT_H

/// Marks the functions that the shared library exports; everything else in it is hidden.
#define SMTPCLIENT_API [[gnu::visibility("default")]]

#endif  // SMTPCLIENT_EXPORT_H
