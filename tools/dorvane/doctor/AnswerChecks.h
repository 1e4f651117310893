// AnswerChecks: what the headers of a delivery's answers make devices do.
#pragma once

#include "Step.h"

#include <DVHttpTransport.h>

#include <QDateTime>

// Of the answer to the plain address, which came between two moments of this machine's clock.
void checkDate(const DVHttpResponse &answer, const QDateTime &sent, const QDateTime &received,
               const StepReport &report);
void checkFreshness(const DVHttpResponse &answer, const StepReport &report);
void checkLastModified(const DVHttpResponse &answer, const StepReport &report);
void checkBodyHeaders(const DVHttpResponse &answer, const StepReport &report);
void checkCookies(const DVHttpResponse &answer, const StepReport &report);

// Of the answer to a request with the "Last-Modified" of the one before as its "If-Modified-Since".
void checkConditional(const DVHttpResponse &answer, const StepReport &report);
