// DVDiagnostics and DVTextOrigin as text.
#include "DVDiagnosticWords.h"

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int labelWidth = 20;

// Lines of a label and a value, the values below each other. Line feeds in a value do not make lines.
class Lines
{
public:
    explicit Lines(const QString &title)
        : m_text(QString(title % u'\n'))
    {}
    void row(const QString &label, const QString &value)
    {
        m_text += u"  " % QString(label % u' ').leftJustified(labelWidth) % oneLine(value) % u'\n';
    }
    void more(const QString &value) { row({}, value); }
    void title(const QString &title) { m_text += u'\n' % title % u'\n'; }
    QString text() const { return m_text; }

private:
    static QString oneLine(QString value)
    {
        for (QChar &character : value) {
            if (character.category() == QChar::Other_Control || character == QChar::LineSeparator ||
                character == QChar::ParagraphSeparator)
                character = u' ';
        }
        return value.isEmpty() ? u"-"_qs : value;
    }

    QString m_text;
};

QString inWords(const QDateTime &date)
{
    return date.isValid() ? date.toUTC().toString(Qt::ISODate) : u"unknown"_qs;
}

QString inWords(bool yes)
{
    return yes ? u"yes"_qs : u"no"_qs;
}

QString orNone(const QString &text)
{
    return text.isEmpty() ? u"none"_qs : text;
}

void writeStart(Lines &lines, const DVDiagnostics &value)
{
    const QString words = dv_inWords(value.start);
    lines.row(u"start"_qs,
              value.startInWords.isEmpty() ? words : QString(words % u" (" % value.startInWords % u')'));
    lines.row(u"lookups answered"_qs, inWords(value.launched));
    lines.row(u"mode"_qs, orNone(value.mode));
    lines.row(u"project"_qs, value.projectId);
    lines.row(u"application version"_qs, orNone(value.applicationVersion));
    lines.row(u"device languages"_qs, orNone(value.deviceLanguages.join(u", "_qs)));
    lines.row(u"device locale"_qs, orNone(value.deviceLocale));
}

void writeChoice(Lines &lines, const DVDiagnostics &value)
{
    lines.title(u"Locale"_qs);
    lines.row(u"served"_qs, orNone(value.servedLocale));
    lines.row(u"base"_qs, orNone(value.baseLocale));
    lines.row(u"why"_qs, value.choice);
    for (const auto &attempt : value.attempts)
        lines.row(u"tried "_qs + attempt.locale, attempt.outcome);
    lines.row(u"strings"_qs,
              QStringLiteral("%1 served, %2 base").arg(value.servedStrings).arg(value.baseStrings));
    lines.row(u"texts are marked"_qs, inWords(value.textsAreMarked));
}

void writeFile(Lines &lines, const DVDiagnostics::File &file)
{
    const QString content =
        file.loaded ? QStringLiteral("loaded, %1 strings").arg(file.strings) : u"not loaded"_qs;
    lines.row(dv_inWords(file.source),
              QStringLiteral("%1, %2 bytes, %3").arg(file.locale, QString::number(file.size), content));
    lines.more(file.path);
    lines.more(QString(u"stored " % inWords(file.stored)));
    if (file.source != DVDiagnostics::File::Source::OverTheAir)
        return;
    lines.more(QString(u"last modified on the server " % inWords(file.published)));
    lines.more(QString((file.expired ? u"expired " : u"expires ") % inWords(file.expires)));
}

void writeDelivery(Lines &lines, const DVDiagnostics::Delivery &delivery)
{
    const QString status =
        delivery.status ? QStringLiteral("status %1").arg(delivery.status) : u"no status"_qs;
    lines.row(delivery.locale, QString(status % u", " % dv_inWords(delivery.outcome)));
    lines.more(QString((delivery.atLaunch ? u"while the start waited, " : u"in the background, ") %
                       inWords(delivery.when)));
    if (delivery.error)
        lines.more(dv_inWords(*delivery.error));
}

void writeNetwork(Lines &lines, const DVDiagnostics &value)
{
    lines.title(u"Last downloads"_qs);
    for (const auto &delivery : value.deliveries)
        writeDelivery(lines, delivery);
    lines.row(u"last error"_qs, value.lastError ? dv_inWords(value.lastError->error) : u"none"_qs);
    if (value.lastError)
        lines.more(inWords(value.lastError->when));
    lines.row(u"delivery CDN"_qs, value.servers.deliveryCdn);
    lines.row(u"delivery"_qs, value.servers.delivery);
    lines.row(u"API"_qs, value.servers.api);
    lines.row(u"sign-in"_qs, value.servers.sso);
}

void writeCounts(Lines &lines, const DVDiagnostics &value)
{
    lines.title(u"Counts"_qs);
    lines.row(u"requests"_qs, QString::number(value.requests));
    lines.row(u"publications"_qs, QString::number(value.publications));
    lines.row(u"LanguageChange sent"_qs, QString::number(value.languageChanges));
    if (!value.analytics.enabled) {
        lines.row(u"usage events"_qs, u"switched off"_qs);
        return;
    }
    const auto waiting = value.analytics.waiting;
    const QString count = waiting ? QString::number(*waiting) : u"an unknown number"_qs;
    const QString sent = value.analytics.lastSent.isValid() ? inWords(value.analytics.lastSent) : u"never"_qs;
    lines.row(u"usage events"_qs, QString(count % u" waiting, last sent " % sent));
}

} // namespace

QString DVDiagnostics::toText() const
{
    Lines lines(QString(u"Dorvane " % libraryVersion));
    writeStart(lines, *this);
    if (start == Start::SwitchedOff || start == Start::Disabled || start == Start::NotStarted)
        return lines.text();
    writeChoice(lines, *this);
    lines.title(u"Files"_qs);
    for (const File &file : files)
        writeFile(lines, file);
    if (files.isEmpty())
        lines.row(u"none"_qs, u"nothing on the device, nothing packaged"_qs);
    writeNetwork(lines, *this);
    writeCounts(lines, *this);
    return lines.text();
}

QString DVTextOrigin::toText() const
{
    QString from = dv_inWords(source);
    if (!locale.isEmpty())
        from += u' ' % locale;
    return QString(u'"' % key % u"\" comes from: " % from % u", because " % because);
}
