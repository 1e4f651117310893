#include "DVLookup.h"

#include "DVCueMarkers.h"
#include "DVLog.h"
#include "DVParsedTexts.h"
#include "DVPictureKeys.h"

#include <Dorvane/DVRuntime.h>

#include <atomic>
#include <cstring>

namespace {

// The bundle's own implementation, which ours replaced.
std::atomic<DVLocalizedStringForKeyImp> LocalizedStringForKeyIMP = nullptr;

QString originalLookup(const DVBundle &bundle, const char *selector, const QString &key, const QString &value,
                       const QString &table)
{
    const auto original = LocalizedStringForKeyIMP.load(std::memory_order_acquire);
    return original ? original(bundle, selector, key, value, table)
                    : bundle.packagedStringForKey(key, value, table);
}

QString text(const DVStringLayers &layers, QStringView key)
{
    const auto hit = layers.find(key);
    return hit ? hit.table->text(hit.entry) : QString();
}

QString pluralText(const DVStringLayers &layers, QStringView key, DVPluralCategory category)
{
    const auto hit = layers.find(key);
    return hit ? hit.table->text(hit.entry, category) : QString();
}

// What the stores say; logged only after the reading ended, since a log handler may take its time.
enum class Origin { None, Locale, Base };

Origin storedString(const QString &key, QString *string, bool *launched, bool *needCues)
{
    const DVReading reading;
    const DVLookupSnapshot *snapshot = DVLookup::published().read();
    *launched = snapshot && snapshot->launched;
    if (!*launched)
        return Origin::None;
    *needCues = snapshot->needCues;
    if (snapshot->editionEnabled)
        *string = text(snapshot->dirty, key);
    if (string->isNull())
        *string = text(snapshot->locale, key);
    if (!string->isNull())
        return Origin::Locale;
    *string = text(snapshot->base, key);
    return string->isNull() ? Origin::None : Origin::Base;
}

bool isLayoutDirectionKey(const char *sourceText)
{
    return sourceText[0] == 'Q' && std::strcmp(sourceText, "QT_LAYOUT_DIRECTION") == 0;
}

// Key sequences are parsed by Qt; a translated "Ctrl" would break every shortcut.
bool neverAnswered(const char *context)
{
    return context && context[0] == 'Q' && std::strcmp(context, "QShortcut") == 0;
}

QString formText(DVStringLayers::Hit hit, DVPluralForm::Rule rule, int n, bool cues)
{
    const bool counted = n >= 0 && rule && hit.table->hasPlurals(hit.entry);
    if (!counted)
        return cues ? hit.table->text(hit.entry) : hit.table->plainText(hit.entry);
    const DVPluralCategory category = rule(n, float(n));
    return cues ? hit.table->text(hit.entry, category) : hit.table->plainText(hit.entry, category);
}

// A base text that equals its source says nothing new, and would hide the application's own translations.
bool saysNothingNew(DVStringLayers::Hit hit, int n, const QString &answer, const char *sourceText,
                    bool isSourceKey)
{
    if (isSourceKey && (n < 0 || !hit.table->hasPlurals(hit.entry)))
        return hit.table->textEqualsKey(hit.entry);
    constexpr char16_t fullwidthPercent = 0xFF05; // stands for a literal percent sign in stored texts
    const QString text = QString(answer).replace(QChar(fullwidthPercent), u'%');
    const QString source = QString::fromUtf8(sourceText);
    return text == source || (!isSourceKey && text == dv_stringWithControlPictures(source));
}

struct Asked
{
    const char *sourceText;
    int n;
    bool isSourceKey; // the key that is looked for is the source text
};

void logAnswer(const char *sourceText, const QString &answer, const char *origin)
{
    if (dv_wantsDebugLog()) {
        dv_logDebugDeferred(QStringLiteral("%1: \"%2\" (from %3)")
                                .arg(QString::fromUtf8(sourceText), dv_stringByRemovingCues(answer),
                                     QLatin1StringView(origin)));
    }
}

// What the stores say at the Qt door. `find` looks the key up in a store's layers. Marked texts say something
// new even where they equal the source: without an answer, what is not yet translated could not be found.
template<bool cues, typename Find>
Q_ALWAYS_INLINE QString storedTranslation(const DVLookupSnapshot &snapshot, const Asked &asked,
                                          const Find &find)
{
    if (snapshot.editionEnabled) {
        if (const auto hit = find(snapshot.dirty)) {
            const QString answer = formText(hit, snapshot.localeRule, asked.n, cues);
            if (!answer.isEmpty()) {
                logAnswer(asked.sourceText, answer, "current locale strings");
                return answer;
            }
        }
    }
    if (const auto hit = find(snapshot.locale)) {
        const QString answer = formText(hit, snapshot.localeRule, asked.n, cues);
        if (!answer.isEmpty()) {
            logAnswer(asked.sourceText, answer, "current locale strings");
            return answer;
        }
    }
    if (const auto hit = find(snapshot.base)) {
        const QString answer = formText(hit, snapshot.baseRule, asked.n, cues);
        if (!answer.isEmpty() &&
            (cues || !saysNothingNew(hit, asked.n, answer, asked.sourceText, asked.isSourceKey))) {
            logAnswer(asked.sourceText, answer, "base");
            return answer;
        }
    }
    return {};
}

struct SourceText
{
    const char *context;
    const char *text;
    const char *disambiguation;
};

template<bool cues>
Q_ALWAYS_INLINE QString storedTranslation(const DVLookupSnapshot &snapshot, const SourceText &source, int n)
{
    if (!snapshot.pictureKeys)
        return storedTranslation<cues>(
            snapshot, {source.text, n, true},
            [text = source.text](const DVStringLayers &layers) { return layers.find(text); });
    const DVPictureKeys keys(source.context, source.text, source.disambiguation);
    return storedTranslation<cues>(snapshot, {source.text, n, false},
                                   [&keys](const DVStringLayers &layers) { return keys.findIn(layers); });
}

// Where keys are ids, only the answer tells what it is for.
Q_NEVER_INLINE QString markedTranslation(const DVLookupSnapshot &snapshot, const SourceText &source, int n)
{
    if (!snapshot.unmarked->mayMark(source.context, source.text))
        return storedTranslation<false>(snapshot, source, n);
    const QString answer = storedTranslation<true>(snapshot, source, n);
    if (answer.isNull())
        return answer;
    const QString plain = dv_stringByRemovingCues(answer);
    return dv_isForPrograms(plain) ? plain : answer;
}

} // namespace

bool DVLookupSnapshot::servesSameAs(const DVLookupSnapshot &other) const
{
    if (launched != other.launched)
        return false;
    if (!launched)
        return true;
    const auto marksSameTexts = [&] {
        return !cuesAtQtDoor || unmarked == other.unmarked || *unmarked == *other.unmarked;
    };
    return cuesAtQtDoor == other.cuesAtQtDoor && marksSameTexts() &&
           layoutDirection == other.layoutDirection && localeRule == other.localeRule &&
           baseRule == other.baseRule && (!editionEnabled || dirty.hasSameContent(other.dirty)) &&
           editionEnabled == other.editionEnabled && locale.hasSameContent(other.locale) &&
           base.hasSameContent(other.base);
}

DVPublished<DVLookupSnapshot> &DVLookup::published()
{
    // Never destroyed: a lookup may come after the static objects are gone.
    static auto *snapshot = new DVPublished<DVLookupSnapshot>;
    return *snapshot;
}

QString DorvaneLocalizedStringForKey(const DVBundle &bundle, const char *selector, const QString &key,
                                     const QString &value, const QString &table)
{
    QString string;
    bool launched = false;
    bool needCues = false;
    const Origin origin = storedString(key, &string, &launched, &needCues);
    if (!launched)
        return originalLookup(bundle, selector, key, value, table);
    if (origin != Origin::None) {
        dv_logDebugLazily([&] {
            return QStringLiteral("%1: \"%2\" (from %3)")
                .arg(key, dv_stringByRemovingCues(string),
                     origin == Origin::Locale ? QStringLiteral("current locale strings")
                                              : QStringLiteral("base"));
        });
        return string;
    }
    const QString original = originalLookup(bundle, selector, key, value, table);
    return needCues ? dv_stringWithCues(original) : original;
}

QString DVLookup::pluralizedString(const QString &key, const DVNumber &value)
{
    const auto find = [&](bool serves, const DVStringLayers &layers, DVPluralForm::Rule rule,
                          QString *category) {
        if (!serves)
            return QString();
        const DVPluralCategory found =
            rule ? rule(value.integerValue(), value.floatValue()) : DVPluralCategory::Other;
        *category = dv_pluralCategoryName(found);
        return pluralText(layers, key, found);
    };
    QString string;
    QString category;
    const char *origin = "current locale strings";
    {
        const DVReading reading;
        const DVLookupSnapshot *snapshot = published().read();
        if (snapshot && snapshot->launched) {
            if (snapshot->editionEnabled)
                string = find(snapshot->localeServes, snapshot->dirty, snapshot->localeRule, &category);
            if (string.isNull())
                string = find(snapshot->localeServes, snapshot->locale, snapshot->localeRule, &category);
            if (string.isNull()) {
                origin = "base locale strings";
                string = find(snapshot->baseServes, snapshot->base, snapshot->baseRule, &category);
            }
        }
    }
    if (string.isNull())
        return DVBundle::mainBundle().localizedStringForKey(key, QString(), QString());
    dv_logDebugLazily([&] {
        return QStringLiteral("%1[%2]: \"%3\" (from %4)")
            .arg(key, category, dv_stringByRemovingCues(string), QLatin1StringView(origin));
    });
    return string;
}

QString DVLookup::translation(const char *context, const char *sourceText, const char *disambiguation, int n)
{
    if (!sourceText || !*sourceText || neverAnswered(context))
        return {};
    const DVReading reading;
    const DVLookupSnapshot *snapshot = published().read();
    if (!snapshot || !snapshot->launched)
        return {};
    if (isLayoutDirectionKey(sourceText) && !snapshot->layoutDirection.isNull())
        return snapshot->layoutDirection;

    if (snapshot->cuesAtQtDoor)
        return markedTranslation(*snapshot, {context, sourceText, disambiguation}, n);
    return storedTranslation<false>(*snapshot, {context, sourceText, disambiguation}, n);
}

void DVLookup::interceptBundleLookup()
{
    static const bool intercepted = [] {
        DVImp original = nullptr;
        const bool done =
            dv_class_swizzleMethodAndStore("DVBundle", "localizedStringForKey:value:table:",
                                           reinterpret_cast<DVImp>(&DorvaneLocalizedStringForKey), &original);
        LocalizedStringForKeyIMP.store(reinterpret_cast<DVLocalizedStringForKeyImp>(original),
                                       std::memory_order_release);
        return done;
    }();
    Q_UNUSED(intercepted)
}
