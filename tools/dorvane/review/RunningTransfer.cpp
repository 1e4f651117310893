#include "RunningTransfer.h"

#include <DVMainQueue.h>

namespace {

constexpr qint64 longestTime = qint64(24) * 3600 * 1000; // milliseconds

} // namespace

DVTransferPtr transferFor(JsonMembers &members, const TryLines &lines)
{
    const bool shows = members.flag("progress", false);
    const qint64 timeout = members.integer("timeoutMs", -1, longestTime);
    if (!members.areGood() || (!shows && timeout < 0))
        return {};
    DVTransfer::Progress progress;
    if (shows) {
        progress = [event = lines.event](qint64 done, qint64 total) {
            event({{QStringLiteral("event"), QStringLiteral("progress")},
                   {QStringLiteral("done"), done},
                   {QStringLiteral("total"), total}});
        };
    }
    const auto transfer = std::make_shared<DVTransfer>(progress);
    if (timeout >= 0) {
        DVMainQueue::postDelayed(int(timeout), [weak = std::weak_ptr(transfer)] {
            if (const auto running = weak.lock())
                running->cancel();
        });
    }
    return transfer;
}
