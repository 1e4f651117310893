// DVTestFiles: whole files for tests.
#pragma once

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTest>

struct DVTestFiles
{
    // Its folder is made, too.
    static void write(const QString &path, const QByteArray &data)
    {
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(data), data.size());
    }
    // Empty also where there is none.
    static QByteArray read(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
};
