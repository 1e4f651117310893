// What records are after they were written as XLIFF and read again, by a plain reading of the rules, one
// character at a time.
#pragma once

#include <DVCue.h>
#include <DVXliffParser.h>
#include <DVXliffWriter.h>

#include <QString>

#include <utility>
#include <vector>

namespace WrittenXliff {

// XML 1.0, 2.2: what a document can hold of a value.
inline QString representable(const QString &value)
{
    QString result;
    for (qsizetype i = 0; i < value.size(); ++i) {
        const char16_t c = value[i].unicode();
        const bool isPair =
            value[i].isHighSurrogate() && i + 1 < value.size() && value[i + 1].isLowSurrogate();
        if (isPair)
            result += value.mid(i++, 2);
        else if (QChar::isSurrogate(c) || c == 0xFFFE || c == 0xFFFF)
            result += QChar(0xFFFD);
        else if (c < 0x20 && c != 0x09 && c != 0x0A && c != 0x0D)
            result += QChar(char16_t(c + 0x2400));
        else
            result += QChar(c);
    }
    return result;
}

struct Piece
{
    QString text;
    bool isArgument = false;
};

inline std::vector<Piece> piecesOf(const QString &text)
{
    std::vector<Piece> pieces(1);
    bool argumentIsEmpty = true;
    for (const QChar c : text) {
        const bool inArgument = pieces.back().isArgument;
        if (!inArgument && c == DVCueMarker::argumentStart) {
            pieces.push_back({{}, true});
            argumentIsEmpty = true;
        } else if (inArgument && c == DVCueMarker::argumentEnd) {
            if (argumentIsEmpty)
                pieces.pop_back();
            else
                pieces.push_back({});
        } else {
            argumentIsEmpty = false;
            if (c != DVCueMarker::stringStart && c != DVCueMarker::stringEnd &&
                c != DVCueMarker::argumentStart && c != DVCueMarker::argumentEnd)
                pieces.back().text += c;
        }
    }
    if (pieces.back().isArgument && argumentIsEmpty)
        pieces.pop_back();
    return pieces;
}

// Marked, as a reader gives it that was asked for markers.
inline QString readBack(const QString &text)
{
    QString result = QChar(DVCueMarker::stringStart);
    for (const Piece &piece : piecesOf(text)) {
        QString shown = representable(piece.text);
        if (piece.isArgument)
            shown = QChar(DVCueMarker::argumentStart) + shown + QChar(DVCueMarker::argumentEnd);
        else
            shown.replace(u'%', QChar(0xFF05));
        result += shown;
    }
    return QString(result + QChar(DVCueMarker::stringEnd));
}

inline QList<QString> argumentsOf(const QString &text)
{
    QList<QString> arguments;
    for (const Piece &piece : piecesOf(text)) {
        if (piece.isArgument && !piece.text.isEmpty())
            arguments.append(representable(piece.text));
    }
    return arguments;
}

inline bool isEmptyMarked(const QString &marked)
{
    return marked.size() == 2;
}

// By key and plural category, "none" without one: uid, text and arguments.
using Forms = QMap<std::pair<QString, QString>, QStringList>;

inline void addForm(Forms &forms, const DVString &form, const QString &text)
{
    const QString marked = readBack(text);
    const QString plural = form.pluralForm.isNull() ? QStringLiteral("none") : form.pluralForm;
    if (!isEmptyMarked(marked)) // a text without anything is none
        forms.insert({representable(form.key), plural},
                     QStringList{representable(form.uid), marked} + argumentsOf(text));
}

struct Expected
{
    Forms targets;
    Forms sources;
    QStringList failures; // keys, sorted
};

// Texts within the limits of a reader; uids that end in "[category]" exactly where there is a category.
inline Expected expectedOf(const DVStringGroups &groups, const DVXliffHeader &header)
{
    Expected expected;
    for (const auto &group : groups) {
        for (const auto &form : std::as_const(group->pluralForms)) {
            if (!group->hasPlurals && !form->pluralForm.isNull())
                continue; // of a group without plurals the single form counts
            if (form->localizedFormat.isNull() || form->uid.isNull()) {
                expected.failures.append(form->key);
                continue;
            }
            const auto base = header.baseForm(form->key, form->pluralForm);
            addForm(expected.targets, *form, form->localizedFormat);
            addForm(expected.sources, *form, base ? base->localizedFormat : QStringLiteral("(null)"));
        }
    }
    expected.failures.sort();
    expected.failures.removeDuplicates();
    return expected;
}

inline Forms formsOf(const DVXliffParser::Strings &strings)
{
    Forms forms;
    for (auto it = strings.begin(); it != strings.end(); ++it) {
        for (auto form = (*it)->pluralForms.begin(); form != (*it)->pluralForms.end(); ++form)
            forms.insert({it.key(), form.key()}, QStringList{(*form)->uid, (*form)->localizedFormat} +
                                                     (*form)->argumentFormatSpecifiers);
    }
    return forms;
}

} // namespace WrittenXliff
