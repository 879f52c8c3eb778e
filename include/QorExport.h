// QorExport.h - marks the classes and functions that programs may link.
#ifndef QOR_QOREXPORT_H
#define QOR_QOREXPORT_H

/// Everything without this mark stays inside the shared library.
#define QOR_API __attribute__((visibility("default")))

#endif  // QOR_QOREXPORT_H
