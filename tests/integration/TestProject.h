// TestProject: a project folder for `dorvane serve`, with one French string.
#pragma once

#include "Delivered.h"

#include <DVTestFiles.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

// Project "garden", locales fr-CA and pl, versions "1.0" and "2 0"; French was published a week ago.
class TestProject
{
public:
    explicit TestProject(const QJsonObject &changes = {})
    {
        setProject(changes);
        publish("Bonjour", lastWeek());
    }

    // One string, "Hello".
    static QByteArray document(const QByteArray &target)
    {
        return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<xliff version=\"1.2\"><file><body>\n"
               "<trans-unit id=\"1\" resname=\"Hello\"><source>Hello</source><target>" +
               target + "</target></trans-unit>\n</body></file></xliff>\n";
    }

    static QDateTime lastWeek()
    {
        static const QDateTime date = QDateTime::currentDateTimeUtc().addDays(-7);
        return date;
    }

    QString path() const { return m_folder.path() + u"/project"_qs; }
    QString frenchFile() const { return path() + u"/fr-CA.xlf"_qs; }

    void write(const QString &name, const QByteArray &content) const
    {
        DVTestFiles::write(QDir(path()).absoluteFilePath(name), content);
    }
    // A member of `changes` that is null is left out of the file.
    void setProject(const QJsonObject &changes) const
    {
        QJsonObject project{{u"projectId"_qs, u"garden"_qs},
                            {u"targetLocales"_qs, QJsonArray{u"fr-CA"_qs, u"pl"_qs}},
                            {u"versions"_qs, QJsonArray{u"1.0"_qs, u"2 0"_qs}},
                            {u"deliveryKey"_qs, Delivered::base64()}};
        for (auto change = changes.begin(); change != changes.end(); ++change)
            project.insert(change.key(),
                           change->isNull() ? QJsonValue(QJsonValue::Undefined) : change.value());
        write(u"project.json"_qs, QJsonDocument(project).toJson());
    }
    void publish(const QByteArray &target, const QDateTime &modified = {}) const
    {
        write(u"fr-CA.xlf"_qs, document(target));
        setModified(modified);
    }
    void setModified(const QDateTime &modified) const
    {
        QFile file(frenchFile());
        QVERIFY(file.open(QIODevice::ReadWrite));
        QVERIFY(!modified.isValid() || file.setFileTime(modified, QFileDevice::FileModificationTime));
    }
    QByteArray received(const QString &name) const
    {
        return DVTestFiles::read(path() + u"/received/"_qs + name);
    }

private:
    QTemporaryDir m_folder;
};

// One that `dorvane serve` serves.
struct ServedProject
{
    explicit ServedProject(const QJsonObject &changes = {})
        : folder(changes)
        , server(folder.path())
    {}
    TestProject folder;
    ServeProcess server;
};
