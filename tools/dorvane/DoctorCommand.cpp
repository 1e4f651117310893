#include "CommandLine.h"
#include "Commands.h"
#include "DeliveryDoctor.h"
#include "DeliveryKey.h"
#include "DocumentLines.h"
#include "TerminalOutput.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <array>
#include <optional>

namespace {

constexpr qsizetype longestLine = 600;

void declareDoctorOptions(CommandLine &line)
{
    const auto value = [&line](const char *name, const char *text, const char *valueName) {
        line.addOption(
            {QString::fromLatin1(name), QString::fromLatin1(text), QString::fromLatin1(valueName)});
    };
    line.addArgument(QStringLiteral("URL"),
                     QStringLiteral("Delivery base, \"deliveryCdn\" of the option \"servers\"."));
    value("project", "Project identifier that the application starts with.", "P");
    value("app-version", "Version of the application.", "V");
    value("locale", "Locale, such as fr-CA.", "L");
    addDeliveryKeyOptions(line);
    value("string", "Look this key up in what was delivered.", "KEY");
    line.addOption({QStringLiteral("timeout"), QStringLiteral("Longest time of a step in seconds (20)."),
                    QStringLiteral("SECONDS"), QStringLiteral("20")});
    line.addOption({QStringLiteral("json"), QStringLiteral("One JSON object instead of lines.")});
    line.addNote(
        QStringLiteral("Exit status: 0 when no step failed, 1 when one did, 2 when an argument is wrong."));
}

// Nothing after the fault was told.
std::optional<DeliveryQuestion> questionIn(const CommandLine &line)
{
    DeliveryQuestion question;
    question.baseUrl = line.argument(0);
    question.project = line.value(QStringLiteral("project"));
    question.appVersion = line.value(QStringLiteral("app-version"));
    question.locale = line.value(QStringLiteral("locale"));
    for (const char *name : {"project", "app-version", "locale"}) {
        if (line.value(QString::fromLatin1(name)).isEmpty()) {
            line.misused(QStringLiteral("--%1 is missing.").arg(QLatin1StringView(name)));
            return std::nullopt;
        }
    }
    if (line.isSet(QStringLiteral("string")))
        question.string = line.value(QStringLiteral("string"));
    bool isNumber = false;
    const double seconds = line.value(QStringLiteral("timeout")).toDouble(&isNumber);
    if (!isNumber || !(seconds > 0 && seconds <= 3600)) {
        line.misused(QStringLiteral("--timeout is a number of seconds, at most 3600."));
        return std::nullopt;
    }
    question.timeoutMs = int(seconds * 1000);
    return question;
}

QString verdictName(Verdict verdict)
{
    static const std::array<QString, 3> names{QStringLiteral("ok"), QStringLiteral("warn"),
                                              QStringLiteral("FAIL")};
    return names[size_t(verdict)];
}

void printStep(const Step &step, bool inColour)
{
    constexpr std::array codes{"32", "35", "1;31"};
    QString verdict = verdictName(step.verdict).leftJustified(5);
    if (inColour)
        verdict =
            QStringLiteral("\033[%1m%2\033[0m").arg(QLatin1StringView(codes[size_t(step.verdict)]), verdict);
    QString text = forTerminal(step.seen, longestLine);
    if (!step.advice.isEmpty())
        text += QString(u" -- " % step.advice);
    printLine(QString(verdict % u' ' % step.name.leftJustified(14) % u' ' % text));
}

QJsonObject jsonStep(const Step &step)
{
    QJsonObject object{{QStringLiteral("step"), step.name},
                       {QStringLiteral("verdict"), verdictName(step.verdict)},
                       {QStringLiteral("seen"), step.seen}};
    if (!step.advice.isEmpty())
        object.insert(QStringLiteral("advice"), step.advice);
    return object;
}

} // namespace

int runDoctor(const QStringList &arguments)
{
    CommandLine line(
        QStringLiteral("doctor"),
        QStringLiteral("Asks a delivery for an application's strings as a device would, tells at each "
                       "step what it saw,\nand what to mend."));
    declareDoctorOptions(line);
    if (const auto status = line.parse(arguments))
        return *status;
    auto question = questionIn(line);
    if (!question)
        return Misused;
    if (line.isSet(QStringLiteral("key-file"))) {
        QString error;
        question->key = deliveryKeyFromOptions(line, &error);
        if (!error.isEmpty())
            return line.misused(error);
    } else if (line.isSet(QStringLiteral("key"))) {
        question->key = line.value(QStringLiteral("key")); // judged as a step
    }
    const bool asJson = line.isSet(QStringLiteral("json"));
    const bool inColour = isColourTerminal(stdout);
    QJsonArray steps;
    Verdict worst = Verdict::Ok;
    examineDelivery(*question, [&](const Step &step) {
        worst = std::max(worst, step.verdict);
        steps.append(jsonStep(step));
        if (!asJson)
            printStep(step, inColour);
    });
    if (asJson)
        printLine(
            QString::fromUtf8(QJsonDocument(QJsonObject{{QStringLiteral("steps"), steps},
                                                        {QStringLiteral("verdict"), verdictName(worst)}})
                                  .toJson())
                .trimmed());
    return worst == Verdict::Fail ? Failed : Succeeded;
}
