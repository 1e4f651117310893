#include "DVString.h"

#include "DVCueMarkers.h"
#include "DVPluralForm.h"

#include <algorithm>
#include <array>

namespace {

const QString &nameOfSingleForm()
{
    static const QString name = dv_pluralCategoryName(DVPluralCategory::None);
    return name;
}

// A file can name forms that are no category of CLDR; they come last.
QList<QString> namesInOrderOfPresentation(const DVStringGroup &group)
{
    QList<QString> names = group.sortedPluralFormNames();
    if (group.pluralForms.contains(nameOfSingleForm()))
        names.append(nameOfSingleForm());
    QList<QString> others;
    for (auto it = group.pluralForms.keyBegin(); it != group.pluralForms.keyEnd(); ++it) {
        if (!names.contains(*it))
            others.append(*it);
    }
    std::sort(others.begin(), others.end());
    return names + others;
}

// Of Latin-1 and of the block of punctuation with the marker that begins a string: most texts of most
// projects have nothing else.
bool isCapital(char16_t c)
{
    return (c >= u'A' && c <= u'Z') || (c >= 0xC0 && c <= 0xDE && c != 0xD7);
}

bool isSimple(QStringView text)
{
    return std::all_of(text.begin(), text.end(), [](QChar c) {
        const unsigned block = c.unicode() >> 8;
        return block == 0 || block == 0x20; // General Punctuation and its neighbours have no capitals
    });
}

QString simplyLowerCased(const QString &text)
{
    const auto isCapitalLetter = [](QChar c) { return isCapital(c.unicode()); };
    if (std::none_of(text.begin(), text.end(), isCapitalLetter))
        return text;
    QString lower(text.size(), Qt::Uninitialized);
    std::transform(text.begin(), text.end(), lower.begin(), [](QChar c) {
        constexpr char16_t smaller = 0x20;
        return isCapital(c.unicode()) ? QChar(char16_t(c.unicode() | smaller)) : c;
    });
    return lower;
}

} // namespace

// QString::toLower moves the rest of the text for every character whose lower case is longer. There is one,
// U+0130, and a text of a million of them must not take a minute.
QString dv_lowerCased(const QString &text)
{
    constexpr QChar growing(u'\u0130');
    constexpr qsizetype fewEnough = 1024;
    if (isSimple(text))
        return simplyLowerCased(text);
    if (text.size() <= fewEnough)
        return text.toLower();
    qsizetype next = text.indexOf(growing);
    if (next < 0)
        return text.toLower();
    const QString grown = QString(growing).toLower();
    QString lower;
    lower.reserve(text.size() + text.size() / 8);
    qsizetype from = 0;
    for (; next >= 0; next = text.indexOf(growing, from)) {
        lower += text.mid(from, next - from).toLower();
        lower += grown;
        from = next + 1;
    }
    return lower + text.mid(from).toLower();
}

QString dv_localizedHash(const QString &text, bool dynamic)
{
    if (!dynamic)
        return dv_lowerCased(text);
    return dv_lowerCased(dv_enumerateCuesUsingBlock(text, [](const QString &) { return std::nullopt; }));
}

void DVString::extractFormatFromString(const QString &markedText)
{
    QList<QString> specifiers;
    localizedFormat = dv_enumerateCuesUsingBlock(markedText, [&](const QString &argument) {
        specifiers.append(argument);
        return std::optional(argument);
    });
    if (!dynamic && !specifiers.isEmpty()) {
        dynamic = true;
        argumentFormatSpecifiers = specifiers;
    }
    recalculateHash();
}

void DVString::recalculateHash()
{
    localizedHash = dv_localizedHash(localizedFormat, dynamic);
}

std::shared_ptr<DVString> DVString::copy() const
{
    auto result = std::make_shared<DVString>(*this);
    result->group.reset();
    return result;
}

QString DVString::description() const
{
    const QString suffix = pluralForm.isNull() ? QString() : QStringLiteral(" (%1)").arg(pluralForm);
    return QStringLiteral("<DVString (%1) [%2] %3%4>")
        .arg(key, uid, dv_stringShowingCues(localizedFormat), suffix);
}

QString dv_stringStatusName(quint32 status)
{
    constexpr std::array<QLatin1StringView, 5> names{
        QLatin1StringView(""), QLatin1StringView("PUBLISHED"), QLatin1StringView("ACCEPTED"),
        QLatin1StringView("REJECTED"), QLatin1StringView("UNTRANSLATED")};
    return status < names.size() ? names[status] : QLatin1StringView("UNKNOWN");
}

void DVStringGroup::addStringForm(const DVStringPtr &form)
{
    if (!form)
        return;
    if (key.isNull())
        key = form->key;
    hasPlurals = !form->pluralForm.isNull();
    DVStringPtr &place = pluralForms[hasPlurals ? form->pluralForm : nameOfSingleForm()];
    if (place && place != form)
        m_replacedForms.append(place);
    place = form;
    form->group = weak_from_this();
}

DVStringPtr DVStringGroup::stringForPluralForm(const QString &name, bool strict) const
{
    const QString other = dv_pluralCategoryName(DVPluralCategory::Other);
    const QString wanted = !name.isNull() ? name : hasPlurals ? other : nameOfSingleForm();
    DVStringPtr form = pluralForms.value(wanted);
    if (form || strict)
        return form;
    form = pluralForms.value(other);
    if (form || pluralForms.isEmpty())
        return form;
    return pluralForms.value(namesInOrderOfPresentation(*this).front());
}

QString DVStringGroup::uid() const
{
    const auto form = stringForPluralForm({}, false);
    return form ? form->uid.left(form->uid.indexOf(u'[')) : QString();
}

QList<QString> DVStringGroup::sortedPluralFormNames() const
{
    QList<QString> names;
    for (int i = 0; i < int(DVPluralCategory::None); ++i) {
        const QString name = dv_pluralCategoryName(DVPluralCategory(i));
        if (pluralForms.contains(name))
            names.append(name);
    }
    return names;
}

QList<DVStringPtr> DVStringGroup::sortedForms() const
{
    QList<DVStringPtr> forms;
    for (const QString &name : namesInOrderOfPresentation(*this))
        forms.append(pluralForms.value(name));
    return forms;
}

DVStringGroupPtr DVStringGroup::copy() const
{
    auto result = std::make_shared<DVStringGroup>(*this);
    result->m_replacedForms.clear();
    for (auto &form : result->pluralForms)
        form = form->copy();
    return result;
}

DVStringPtr dv_sharedForm(const DVStringGroupPtr &group, const DVStringPtr &form)
{
    return form ? DVStringPtr(group, form.get()) : nullptr;
}

QString DVStringGroup::description() const
{
    QList<QString> forms;
    for (const QString &name : namesInOrderOfPresentation(*this))
        forms.append(QString(name % u": " % pluralForms.value(name)->description()));
    return QStringLiteral("<DVStringGroup %1 {%2}>").arg(key, forms.join(QLatin1StringView(", ")));
}
