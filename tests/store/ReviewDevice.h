// ReviewDevice: a device in review, for tests of the stores: folders, settings, files, records.
#pragma once

#include "DVBaseLocaleStrings.h"
#include "DVClock.h"
#include "DVCueMarkers.h"
#include "DVFolders.h"
#include "DVLocaleStrings.h"
#include "DVState.h"
#include "DVTestFiles.h"
#include "DVUserDefaults.h"

#include <Dorvane/DVBundle.h>

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>

#include <initializer_list>

// Each object is a fresh device: version 1.0 of an application, in review, somebody who may translate signed
// in.
class ReviewDevice : public DVTestFiles
{
public:
    using Forms = QMap<QString, QString>; // by category; "none" for a string without plurals

    explicit ReviewDevice(const QString &folder = {})
        : m_path(folder.isNull() ? m_folder.path() : folder)
    {
        QCoreApplication::setApplicationVersion(QStringLiteral("1.0"));
        QDir().mkpath(bundlePath());
        DVFolders::setDocuments(m_path);
        DVUserDefaults::standard().reload();
        DVBundle::setMainBundle(DVBundle(bundlePath()));
        auto &state = DVState::shared();
        state.log = true;
        state.editionMode = state.loggedIn = state.canTranslate = true;
        state.setWorkflowStep(QStringLiteral("step-1"), QStringLiteral("Translation"));
    }
    ~ReviewDevice()
    {
        auto &state = DVState::shared();
        state.log = state.debug = state.editionMode = state.loggedIn = state.canTranslate = false;
        state.setWorkflowStep({}, {});
        DVLocaleStrings::setBaseStringsSource({});
        DVLocaleStrings::setStringsObserver({});
        DVClock::reset();
    }
    Q_DISABLE_COPY_MOVE(ReviewDevice)

    QString bundlePath() const { return QString(m_path + u"/bundle"); }
    QString file(const QString &name) const { return QString(DVFolders::dorvaneFiles() + u'/' + name); }
    QStringList files() const
    {
        return QDir(DVFolders::dorvaneFiles()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    }

    // The store that the next start would make: nothing is left of the one before but its files.
    std::shared_ptr<DVLocaleStrings> restarted(const QString &locale = QStringLiteral("fr_CA")) const
    {
        DVUserDefaults::standard().reload();
        auto strings = DVLocaleStrings::localeStringsForLocale(DVLocale(locale));
        strings->loadStringsWithBaseLocaleStrings(nullptr);
        return strings;
    }

    // A document as a server sends it: "key" or "key[form]" to target.
    using Targets = QMap<QString, QString>;
    static QByteArray xliff(const Targets &targets)
    {
        QString units;
        for (auto target = targets.constBegin(); target != targets.constEnd(); ++target) {
            const QString key = target.key().section(u'[', 0, 0);
            units += QStringLiteral("<trans-unit id=\"id-%1\" resname=\"%2\"><source>base %2</source>"
                                    "<target>%3</target></trans-unit>\n")
                         .arg(target.key(), key, target->toHtmlEscaped());
        }
        return QString(u"<xliff version=\"1.2\"><file><body>\n" + units + u"</body></file></xliff>").toUtf8();
    }

    // What the device has of fr-CA in version 1.0.
    void publish(const Targets &targets) const
    {
        write(file(QStringLiteral("1.0_fr_CA_published.xlf")), xliff(targets));
    }

    static DVStringGroupPtr group(const QString &key, const Forms &forms)
    {
        auto group = std::make_shared<DVStringGroup>();
        for (auto form = forms.constBegin(); form != forms.constEnd(); ++form) {
            const bool plural = form.key() != QStringLiteral("none");
            auto record = std::make_shared<DVString>();
            record->key = key;
            record->uid = plural ? QString(u"id[" + form.key() + u']') : QStringLiteral("id");
            record->pluralForm = plural ? form.key() : QString();
            record->extractFormatFromString(dv_stringWithCues(form.value()));
            group->addStringForm(record);
        }
        return group;
    }
    static DVStringGroupPtr group(const QString &key, const QString &text)
    {
        return group(key, {{QStringLiteral("none"), text}});
    }
    static DVStringGroups groups(std::initializer_list<DVStringGroupPtr> list)
    {
        DVStringGroups result;
        for (const auto &one : list)
            result.insert(one->key, one);
        return result;
    }

    // Edits of these strings and of no others, by key.
    static void setEdits(DVLocaleStrings &strings, const QMap<QString, QString> &texts)
    {
        DVStringGroups edits;
        for (auto text = texts.constBegin(); text != texts.constEnd(); ++text)
            edits.insert(text.key(), group(text.key(), *text));
        strings.setDirtyStrings(edits);
    }

    // As the in-place editor does it: the record itself changes, and its group becomes dirty.
    static void editInPlace(DVLocaleStrings &strings, const QString &key, const QString &text,
                            const QString &form = {})
    {
        const DVStringGroupPtr group = strings.dorvaneStringGroupForKey(key);
        QVERIFY(group);
        const DVStringPtr record = group->stringForPluralForm(form, true);
        QVERIFY(record);
        record->localizedFormat = dv_stringWithCues(text);
        record->recalculateHash();
        DVStringGroups dirty = strings.dirtyStrings();
        dirty.insert(key, group);
        strings.setDirtyStrings(dirty);
    }

    // What a lookup shows, without markers.
    static QString served(const DVLocaleStrings &strings, const QString &key, const QString &form = {})
    {
        return plain(strings.localizedStringForKey(key, form));
    }
    static QString plain(const QString &text) { return dv_stringByRemovingCues(text); }
    // Of every form, without markers.
    static Forms texts(const DVStringGroupPtr &group)
    {
        Forms texts;
        if (!group)
            return texts;
        for (auto form = group->pluralForms.constBegin(); form != group->pluralForms.constEnd(); ++form)
            texts.insert(form.key(), plain((*form)->localizedFormat));
        return texts;
    }

private:
    QTemporaryDir m_folder;
    QString m_path;
};
