// Dorvane::Review: in-app review of translations. Link it into the builds that translators get.
#pragma once

#include <QtGlobal>

#if defined(DORVANE_STATIC)
#define DORVANE_REVIEW_EXPORT
#elif defined(DORVANE_REVIEW_BUILDING)
#define DORVANE_REVIEW_EXPORT Q_DECL_EXPORT
#else
#define DORVANE_REVIEW_EXPORT Q_DECL_IMPORT
#endif

QT_BEGIN_NAMESPACE
class QImage;
QT_END_NAMESPACE

// There is nothing to call. A program that is linked with Dorvane::Review has the tools of in-app review as
// soon as there is a QApplication, and nothing happens before Dorvane::startWithProjectId() is given a mode
// of review or capture. Other builds should not link it. It needs a libdorvane of just its own release.

// The marks of the interface for translators: null until each is first shown. Templates, white on
// transparent with two pixels a point. The library keeps them. Main thread.
extern DORVANE_REVIEW_EXPORT const QImage *dv_success;
extern DORVANE_REVIEW_EXPORT const QImage *dv_disclosure;
extern DORVANE_REVIEW_EXPORT const QImage *dv_logo;

// Keeps the tools in programs whose code names nothing of this library; link options name it.
extern "C" DORVANE_REVIEW_EXPORT void dorvane_review();
