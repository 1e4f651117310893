// Signing: a request on its way through a session, as a test watches it.
#pragma once

#include "DVOutcome.h"

#include <DVHttpTransport.h>

// Handed to the session when it is made. It counts and keeps what the completion said.
class Signing : public DVOutcome<>
{
public:
    template<typename Session> explicit Signing(Session &session)
    {
        session.authorizeRequest(request, take());
    }

    QByteArray header() const { return request->request.rawHeader("Authorization"); }

    std::shared_ptr<DVHttpRequest> request = std::make_shared<DVHttpRequest>();
};

#define QTRY_SIGNED(signing, token)                                                                          \
    do {                                                                                                     \
        QTRY_COMPLETED(signing);                                                                             \
        QCOMPARE((signing)->error, DVErrorOr());                                                             \
        QCOMPARE((signing).header(), QByteArray("Bearer " token));                                           \
    } while (false)

#define QTRY_REFUSED(signing, why)                                                                           \
    do {                                                                                                     \
        QTRY_COMPLETED(signing);                                                                             \
        QCOMPARE((signing)->error, why);                                                                     \
        QVERIFY((signing).header().isNull());                                                                \
    } while (false)
