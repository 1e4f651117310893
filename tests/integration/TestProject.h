// TestProject: a project folder for `dorvane serve`, with one French string.
#pragma once

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

// Project "garden", locales fr-CA and pl, versions "1.0" and "2 0"; French was published a week ago.
class TestProject
{
public:
    TestProject()
    {
        setProject({});
        publish("Bonjour", lastWeek());
    }

    static QByteArray keyBytes() { return "0123456789abcdef"; }

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

    QString path() const { return m_folder.path() + QStringLiteral("/project"); }
    QString frenchFile() const { return path() + QStringLiteral("/fr-CA.xlf"); }

    void write(const QString &name, const QByteArray &content) const
    {
        QDir().mkpath(path());
        QFile file(QDir(path()).absoluteFilePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
    }
    // A member of `changes` that is null is left out of the file.
    void setProject(const QJsonObject &changes) const
    {
        QJsonObject project{
            {QStringLiteral("projectId"), QStringLiteral("garden")},
            {QStringLiteral("targetLocales"), QJsonArray{QStringLiteral("fr-CA"), QStringLiteral("pl")}},
            {QStringLiteral("versions"), QJsonArray{QStringLiteral("1.0"), QStringLiteral("2 0")}},
            {QStringLiteral("deliveryKey"), QString::fromLatin1(keyBytes().toBase64())}};
        for (auto change = changes.begin(); change != changes.end(); ++change)
            project.insert(change.key(),
                           change->isNull() ? QJsonValue(QJsonValue::Undefined) : change.value());
        write(QStringLiteral("project.json"), QJsonDocument(project).toJson());
    }
    void publish(const QByteArray &target, const QDateTime &modified = {}) const
    {
        write(QStringLiteral("fr-CA.xlf"), document(target));
        setModified(modified);
    }
    void setModified(const QDateTime &modified) const
    {
        QFile file(frenchFile());
        QVERIFY(file.open(QIODevice::ReadWrite));
        QVERIFY(!modified.isValid() || file.setFileTime(modified, QFileDevice::FileModificationTime));
    }
    QByteArray received() const
    {
        QFile file(path() + QStringLiteral("/received/events.jsonl"));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

private:
    QTemporaryDir m_folder;
};
