// DVJsonExchange: sends a request and completes with the JSON of its answer.
#pragma once

#include "DVNetwork.h"

namespace DVJsonExchange {

constexpr qint64 maximumAnswer = qint64(64) << 20;

// The answer is decoded on the network thread; the dump, the failure's event and the completion run on the
// main thread. `bodyDebug` (may be null) is the request's body as the dump shows it, read when the answer is
// there.
void send(const DVHttpRequest &request, DVJsonCompletion completion,
          const std::shared_ptr<const QString> &bodyDebug = {});

} // namespace DVJsonExchange
