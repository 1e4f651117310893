// The controller's answer to where one text comes from.
#include "DVLookup.h"
#include "DVMainController.h"
#include "DVMainQueue.h"
#include "DVOffSwitch.h"
#include "DVPictureKeys.h"

#include <QCoreApplication>

using namespace Qt::Literals::StringLiterals;

namespace {

using Source = DVTextOrigin::Source;

// A text as tr() asks for it.
class Question
{
public:
    Question(const QString &key, const QString &context, int n)
        : m_key(key.toUtf8())
        , m_context(context.toUtf8())
        , m_hasContext(!context.isNull())
        , m_n(n)
    {}

    bool isAnsweredByUs() const
    {
        return !DVLookup::translation(context(), m_key.constData(), nullptr, m_n).isNull();
    }
    // Asks ours first, as always; so only of use when ours says nothing.
    bool isAnsweredByOthers() const
    {
        const QString shown = QCoreApplication::translate(context(), m_key.constData(), nullptr, m_n);
        return shown != QString::fromUtf8(m_key);
    }
    bool hasContext() const { return m_hasContext; }
    bool isShortcut() const { return m_context == "QShortcut"; }

    // A text that two contexts translate differently is kept under keys with their contexts, too.
    DVStringLayers::Hit in(const DVStringLayers &layers) const
    {
        return DVPictureKeys(context(), m_key.constData(), nullptr).findIn(layers);
    }
    bool hasText(DVStringLayers::Hit hit, DVPluralForm::Rule rule) const
    {
        if (!hit)
            return false;
        const bool counted = m_n >= 0 && rule && hit.table->hasPlurals(hit.entry);
        return !(counted ? hit.table->plainText(hit.entry, rule(m_n, float(m_n)))
                         : hit.table->plainText(hit.entry))
                    .isEmpty();
    }

private:
    const char *context() const { return m_hasContext ? m_context.constData() : nullptr; }

    const QByteArray m_key;
    const QByteArray m_context;
    const bool m_hasContext;
    const int m_n;
};

QString pathOf(const DVLocaleStrings &strings, const DVStringTable *table)
{
    for (const DVLoadedFile &file : strings.loadedFiles()) {
        if (file.strings.get() == table)
            return file.path;
    }
    return {};
}

void comesFromServed(DVTextOrigin *origin, const DVLocaleStrings &strings, const DVStringTable *table)
{
    origin->locale = strings.locale().identifier();
    origin->file = pathOf(strings, table);
    if (!origin->file.isNull() && origin->file == strings.packagedFilePath()) {
        origin->source = Source::Packaged;
        origin->because = u"no strings of the served locale are on the device, and those packaged have it"_qs;
        return;
    }
    origin->source = Source::OverTheAir;
    origin->because = u"the delivered strings of the served locale have it"_qs;
}

void comesFromBase(DVTextOrigin *origin, const DVBaseLocaleStrings &base, const DVLocaleStrings *served,
                   const DVStringTable *table)
{
    origin->source = Source::Base;
    origin->locale = base.locale().identifier();
    const auto packaged = base.packagedStrings();
    for (const DVStringTablePtr &own : packaged.tables()) {
        if (own.get() != table)
            continue;
        origin->file = base.packagedStringsPath();
        origin->because = u"the served strings have no text for it, and the packaged base strings have"_qs;
        return;
    }
    if (served && !served->loadedFiles().empty())
        origin->file = served->loadedFiles().front().path;
    origin->because = u"the served strings have no translation of it, only its source text"_qs;
}

// Where some keys have contexts, which of a text's keys matched.
void nameKey(DVTextOrigin *origin, DVStringLayers::Hit hit)
{
    origin->because += QString(u" (under the key \"" % hit.table->key(hit.entry) % u"\")");
}

struct Stores
{
    const DVLocaleStrings *served; // null: none
    const DVBaseLocaleStrings *base;
};

// In the order in which lookups ask.
void comesFromUs(DVTextOrigin *origin, const Question &question, const DVLookupSnapshot &snapshot,
                 Stores stores)
{
    const auto nameKeyOf = [&](DVStringLayers::Hit hit) {
        if (snapshot.pictureKeys)
            nameKey(origin, hit);
    };
    const auto edited = question.in(snapshot.dirty);
    if (snapshot.editionEnabled && question.hasText(edited, snapshot.localeRule)) {
        origin->source = Source::Edited;
        origin->locale = stores.served->locale().identifier();
        origin->file = stores.served->dirtyFilePath();
        origin->because = u"it was changed in review on this device"_qs;
        nameKeyOf(edited);
        return;
    }
    const auto served = question.in(snapshot.locale);
    const auto base = question.in(snapshot.base);
    if (stores.served && question.hasText(served, snapshot.localeRule)) {
        comesFromServed(origin, *stores.served, served.table);
        nameKeyOf(served);
    } else if (stores.base && base) {
        comesFromBase(origin, *stores.base, stores.served, base.table);
        nameKeyOf(base);
    } else {
        origin->because = u"the library answers it for Qt (the direction of the layout)"_qs;
    }
}

// Why the library leaves a text to the application's own translators.
QString whyPassedOn(const Question &question, const DVLookupSnapshot &snapshot)
{
    if (question.isShortcut())
        return u"the library never translates key sequences"_qs;
    if (const auto hit = question.in(snapshot.locale); hit && !question.hasText(hit, snapshot.localeRule))
        return u"its translation into the served locale is empty"_qs;
    if (question.in(snapshot.base))
        return u"no translation of it is served, and its base text says nothing new"_qs;
    return u"neither the served strings nor the base strings have it"_qs;
}

void comesFromElsewhere(DVTextOrigin *origin, const Question &question, const QString &why)
{
    if (question.isAnsweredByOthers()) {
        origin->source = Source::ApplicationsOwn;
        origin->because = QString(why % u", and a translator of the application (or of Qt) answers");
        return;
    }
    origin->source = Source::Nothing;
    origin->because =
        QString(why % (question.hasContext() ? u", and no translator of the application has it"
                                             : u", and without its context the application's own translators "
                                               "cannot be asked"));
}

} // namespace

DVTextOrigin DVMainController::diagnostics(const QString &key, const QString &context, int n) const
{
    DVTextOrigin origin;
    origin.key = key;
    origin.context = context;
    const Question question(key, context, n);
    if (!dv_isSwitchedOff() && !DVMainQueue::isMainThread()) {
        origin.because = QCoreApplication::instance() ? u"only the main thread can tell"_qs
                                                      : u"there is no application object"_qs;
        return origin;
    }
    const auto snapshot = DVLookup::published().owner(); // published on this thread
    if (!snapshot || !snapshot->launched) {
        const QString why = dv_isSwitchedOff() ? u"the library is switched off by DORVANE_DISABLED"_qs
                                               : u"the library is not started"_qs;
        comesFromElsewhere(&origin, question, why);
    } else if (question.isAnsweredByUs()) {
        comesFromUs(&origin, question, *snapshot, {m_localeStrings.get(), m_baseLocaleStrings.get()});
    } else {
        comesFromElsewhere(&origin, question, whyPassedOn(question, *snapshot));
    }
    return origin;
}
