// CheckReport: findings for people, for programs and for code scanners.
#pragma once

#include "Check.h"

#include <QByteArray>
#include <QString>

#include <vector>

struct CheckedPath
{
    QString path;
    QByteArray document;
    FindingList findings;
};

// One finding as a compiler writes it, "file:line:column: severity: message [rule]", with the line of the
// document below and carets under the place; all findings of a file, each ending in a line feed.
enum class Colours { Off, On };
QString textReport(const CheckedPath &file, Colours colours);

// {"files": [{"path", "findings": [{"severity", "rule", "line", "column", "message", "key", "form"}]}],
//  "errors", "warnings", "notes"}; "key" and "form" where there is one.
QByteArray jsonReport(const std::vector<CheckedPath> &files);

// SARIF 2.1.0 (OASIS), which code scanners read.
QByteArray sarifReport(const std::vector<CheckedPath> &files, const QString &toolVersion);
