// DVApi: a picture of the application, and where its strings stand on it.
#include "DVApi.h"

#include "DVAnalytics.h"
#include "DVApiAnswer.h"
#include "DVNetwork.h"
#include "DVServerUrl.h"

#include "DVLog.h"
#include "DVMainQueue.h"

#include <algorithm>
#include <utility>

namespace {

constexpr QLatin1StringView eventName{"Context Capture"};

DVError sdkError(int code, const QString &description)
{
    return {QStringLiteral("dorvane.SDK"), code, description};
}

DVError apiError(const QString &description)
{
    return {QStringLiteral("dorvane.API"), 500, description};
}

QString described(const QList<DVContextPicture::String> &strings)
{
    QStringList texts;
    for (const auto &string : strings) {
        const QRectF &frame = string.frame;
        texts += QStringLiteral("<DVScreenshotString %1 {{%2, %3}, {%4, %5}}>")
                     .arg(string.key, QString::number(frame.x()), QString::number(frame.y()),
                          QString::number(frame.width()), QString::number(frame.height()));
    }
    return u'(' % texts.join(QLatin1StringView(", ")) % u')';
}

QVariantMap coordinates(const QRectF &frame)
{
    return {{QStringLiteral("top"), frame.y()},
            {QStringLiteral("left"), frame.x()},
            {QStringLiteral("height"), frame.height()},
            {QStringLiteral("width"), frame.width()}};
}

QVariantList bindings(const QList<DVContextPicture::String> &strings, const QString &contextUid)
{
    QVariantList bindings;
    for (const auto &string : strings) {
        if (const QString hashcode = dv_hashcode(string.uid); !hashcode.isEmpty())
            bindings.append(QVariantMap{{QStringLiteral("contextUid"), contextUid},
                                        {QStringLiteral("stringHashcode"), hashcode},
                                        {QStringLiteral("coordinates"), coordinates(string.frame)}});
    }
    return bindings;
}

// One upload on its way, kept alive by the completion of the request under way.
class Upload : public std::enable_shared_from_this<Upload>
{
public:
    Upload(DVContextPicture picture, DVApi::Completion completion, DVTransferPtr transfer)
        : m_picture(std::move(picture))
        , m_completion(std::move(completion))
        , m_transfer(std::move(transfer))
    {}

    void start();

private:
    void sendPicture(const QString &path);
    void bind(const QString &contextUid);
    // `event`: what the usage event says of the error, where that is not its description.
    void finish(const DVErrorOr &error, const QString &event = {});
    void fail(const DVError &error, const QString &event = {});

    const DVContextPicture m_picture;
    const DVApi::Completion m_completion;
    const DVTransferPtr m_transfer;
};

void Upload::start()
{
    const auto &strings = m_picture.strings;
    dv_logDebugLazily([&] { return QString(u"Took screenshot with strings " % described(strings)); });
    if (strings.isEmpty())
        return fail(sdkError(404, QStringLiteral("No strings in screenshot")));
    if (std::all_of(strings.begin(), strings.end(), [](const auto &string) { return string.uid.isEmpty(); }))
        return fail(sdkError(500, QStringLiteral("No string UIDs provided")),
                    QStringLiteral("No string UIDs"));
    const QString path = m_picture.saveImage ? m_picture.saveImage() : QString();
    if (path.isEmpty())
        return fail(sdkError(500, QStringLiteral("Screenshot could not be saved")));
    sendPicture(path);
}

void Upload::sendPicture(const QString &path)
{
    DVNetwork::postPath(
        DVApiAnswer::projectPath(QLatin1StringView("context-api"), QStringLiteral("/contexts")),
        DVAuthenticationApi, DVImageAttachment{path}, QStringLiteral("content"),
        [self = shared_from_this()](const DVErrorOr &error, const QJsonValue &json) {
            const auto data = DVApiAnswer::data(json);
            const QString contextUid = data ? data->value(u"contextUid").toString() : QString();
            if (error)
                self->finish(error);
            else if (contextUid.isEmpty())
                self->finish(apiError(QStringLiteral("No Screenshot UID provided")));
            else
                self->bind(contextUid);
        },
        m_transfer);
}

void Upload::bind(const QString &contextUid)
{
    const QVariantList found = bindings(m_picture.strings, contextUid);
    if (found.isEmpty())
        return finish(apiError(QStringLiteral("Bindings not created, unknown strings")));
    DVNetwork::postPath(
        DVApiAnswer::projectPath(QLatin1StringView("context-api"), QStringLiteral("/bindings")), false,
        DVAuthenticationApi, DVServerApi, {{QStringLiteral("bindings"), found}},
        [self = shared_from_this()](const DVErrorOr &error, const QJsonValue &) { self->finish(error); },
        m_transfer);
}

void Upload::finish(const DVErrorOr &error, const QString &event)
{
    QVariantMap properties{{QStringLiteral("NumberOfStrings"), m_picture.strings.size()},
                           {QStringLiteral("Success"), !error}};
    if (error)
        properties.insert(QStringLiteral("Error"), event.isEmpty() ? error->description : event);
    DVAnalytics::trackEvent(QString(eventName), properties);
    if (m_completion)
        m_completion(error);
}

void Upload::fail(const DVError &error, const QString &event)
{
    DVMainQueue::post([self = shared_from_this(), error, event] { self->finish(error, event); });
}

} // namespace

void DVApi::uploadContext(const DVContextPicture &picture, Completion withCompletion,
                          const DVTransferPtr &transfer)
{
    std::make_shared<Upload>(picture, std::move(withCompletion), transfer)->start();
}
