// FolderLock: keeps other processes out of a folder while one reads, changes and writes what is in it.
#pragma once

#include <QString>

#include <functional>

class FolderLock
{
public:
    // Gives the folder free; one that this made and that stayed empty goes away.
    ~FolderLock();
    FolderLock() = default;
    Q_DISABLE_COPY_MOVE(FolderLock)

    // Makes the folder when it is missing. `waits` is called once when another process has it. Null on
    // success, else what is wrong.
    QString take(const QString &folder, const std::function<void()> &waits);

private:
    QString m_folder;
    int m_descriptor = -1; // of the folder
    bool m_isMade = false;
};
