// Export macro of the library.
#pragma once

#include <QtGlobal>

#if defined(DORVANE_STATIC)
#define DORVANE_EXPORT
#elif defined(DORVANE_BUILDING)
#define DORVANE_EXPORT Q_DECL_EXPORT
#else
#define DORVANE_EXPORT Q_DECL_IMPORT
#endif
