// SignInPage: the page on which a person gives name and password.
#pragma once

#include "Answer.h"

#include <QString>

// `action` is where the form goes to, with its query; `error` is null the first time. Fields: "user",
// "password".
Answer signInPage(Answer::Status status, const QString &projectName, const QString &action,
                  const QString &user, const QString &error);

// For people, when nobody can be sent back to the application.
Answer signInRefusal(const QString &projectName, const QString &error);
