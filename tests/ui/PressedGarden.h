// PressedGarden: an example application in review mode, whose translations say themselves which string they
// are.
#pragma once

#include "DVReviewTools.h"
#include "GestureHost.h"
#include "ReviewPlatform.h"

#include <QRegularExpression>
#include <QSet>

// A text on the screen: where it is, and what is seen there.
struct SeenText
{
    QWindow *window = nullptr;
    QPoint at;
    QString text;
    QString where; // for messages
};

// Each French text of the demonstration project begins with a sign of its string, as in "⟨17⟩Aujourd’hui".
// What is seen on the screen so says which strings made it, without any of the library's markers. One at a
// time.
class PressedGarden
{
public:
    PressedGarden()
    {
        DVTestHost::write(m_application.filePath(QStringLiteral("1.0_fr_CA_published.xlf")), signedStrings());
        auto &defaults = DVUserDefaults::standard(); // where somebody has worked before
        defaults.setData(QStringLiteral("DVWorkflowStep"),
                         ReviewPlatform::step(QStringLiteral("translate")).archived());
        defaults.setString(QStringLiteral("DVLocale"), QStringLiteral("fr_CA"));
        DVMainController::sharedInstance().setInAppTools(std::make_unique<DVReviewTools>());
        Dorvane::startWithProjectId(QStringLiteral("p"), m_platform.options(QStringLiteral("DVInAppReview")));
        ReviewPlatform::signIn();
        QCoreApplication::processEvents();
    }

    // Presses for long on one text after the other. They are asked for before each press: one on an entry of
    // a list selects it, which changes other texts, and a tab turns the page.
    void press(const std::function<QList<SeenText>()> &texts, const QString &steps)
    {
        QList<SeenText> now = texts();
        for (qsizetype i = 0; i < now.size(); now = texts(), ++i) {
            const QStringList keys = keysSeen(now.at(i).text);
            if (keys.isEmpty())
                continue;
            met += QSet<QString>(keys.cbegin(), keys.cend());
            const QStringList found = keysFoundAt(now.at(i), steps);
            if (found != keys)
                wrong << now.at(i).where + u" \"" + now.at(i).text + u"\": " + found.join(u", ");
        }
    }

    QStringList wrong;
    QSet<QString> met; // keys

private:
    // Of those that the text says.
    QStringList keysSeen(const QString &text) const
    {
        static const QRegularExpression sign(QStringLiteral("⟨(\\d+)⟩"));
        QSet<QString> keys;
        for (auto match = sign.globalMatch(text); match.hasNext();)
            keys.insert(m_keys.value(match.next().captured(1).toInt()));
        return sorted(keys);
    }

    // What an editor would have got.
    QStringList keysFoundAt(const SeenText &seen, const QString &steps)
    {
        Hand(seen.window, seen.at).perform(steps);
        QSet<QString> keys;
        for (const DVViewStringsPtr &strings : std::as_const(m_host.asked.strings)) {
            for (const DVStringPtr &string : strings->dorvaneStringsInString())
                keys.insert(string->key);
        }
        m_host.asked = {};
        return sorted(keys);
    }

    static QStringList sorted(const QSet<QString> &keys)
    {
        QStringList list(keys.cbegin(), keys.cend());
        list.sort();
        return list;
    }
    QByteArray signedStrings()
    {
        const QByteArray project =
            DVTestHost::read(QStringLiteral(DORVANE_SOURCE_DIR "/examples/project/fr.xlf"));
        QByteArrayList lines = project.split('\n');
        for (QByteArray &line : lines) {
            static const QRegularExpression unit(QStringLiteral("<trans-unit .*resname=\"([^\"]*)\""));
            const auto match = unit.match(QString::fromUtf8(line));
            if (match.hasMatch())
                addKey(match.captured(1));
            line.replace("<target>", QStringLiteral("<target>⟨%1⟩").arg(m_keys.size() - 1).toUtf8());
        }
        return lines.join('\n');
    }
    // The forms of a plural string stand one behind the other.
    void addKey(QString escaped)
    {
        for (const auto &[entity, character] : {std::pair(QStringLiteral("&lt;"), QStringLiteral("<")),
                                                std::pair(QStringLiteral("&gt;"), QStringLiteral(">")),
                                                std::pair(QStringLiteral("&quot;"), QStringLiteral("\"")),
                                                std::pair(QStringLiteral("&amp;"), QStringLiteral("&"))})
            escaped.replace(entity, character);
        if (m_keys.isEmpty() || m_keys.last() != escaped)
            m_keys.append(escaped);
    }

    ReviewPlatform m_platform;
    DVTestHost m_application;
    GestureHost m_host;
    QStringList m_keys;
};

inline void pressesOfAllKinds()
{
    QTest::addColumn<QString>("steps");
    QTest::newRow("with the mouse") << QStringLiteral("L+ hold L-");
    QTest::newRow("with a finger") << QStringLiteral("1+ hold 1-");
}
