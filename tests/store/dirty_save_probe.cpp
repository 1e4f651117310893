// Saves 200 edits and decisions again and again, in two generations, until it is killed: dirty_save_probe
// FOLDER.
#include "ReviewDevice.h"

#include <cstdio>

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const ReviewDevice device(QString::fromLocal8Bit(argv[1]));
    const auto strings = device.restarted();
    for (int round = 0; round < 1'000'000; ++round) {
        const bool odd = round % 2 == 1;
        DVStringGroups edits;
        for (int i = 0; i < 200; ++i) {
            const QString key = QStringLiteral("key %1").arg(i);
            const auto group = ReviewDevice::group(
                key,
                QStringLiteral("%1 & <%2>").arg(odd ? QStringLiteral("odd") : QStringLiteral("even")).arg(i));
            group->status = odd ? DVStringStatusRejected : DVStringStatusAccepted;
            group->rejectReason = odd ? QStringLiteral("SPELLING") : QString();
            edits.insert(key, group);
        }
        strings->setDirtyStrings(edits);
        strings->setAcceptedStrings(odd ? DVStringGroups() : edits);
        strings->setRejectedStrings(odd ? edits : DVStringGroups());
        strings->saveDirty();
        if (round == 1) {
            std::puts("saving");
            std::fflush(stdout);
        }
    }
    return 0;
}
