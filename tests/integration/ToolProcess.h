// ToolProcess: the built command-line tool as a child process.
#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTcpSocket>

using namespace Qt::Literals::StringLiterals;

// What a run that ends by itself left behind.
struct ToolRun
{
    int status = -1; // -1: it crashed or did not end in time
    QByteArray output;
    QByteArray errors;

    static ToolRun program(const QString &program, const QStringList &arguments, const QByteArray &input = {})
    {
        QProcess process;
        process.start(program, arguments);
        process.write(input);
        process.closeWriteChannel();
        const bool ended = process.waitForFinished(60000) && process.exitStatus() == QProcess::NormalExit;
        return {ended ? process.exitCode() : -1, process.readAllStandardOutput(),
                process.readAllStandardError()};
    }
    static ToolRun tool(const QStringList &arguments, const QByteArray &input = {})
    {
        return program(QStringLiteral(DORVANE_TOOL), arguments, input);
    }
};

struct HttpAnswer
{
    int status = 0; // 0: the connection ended, or time was up, before a whole answer
    QByteArray head;
    QByteArray body;

    QByteArray header(const QByteArray &name) const
    {
        const QByteArray start = name.toLower() + ": ";
        for (const QByteArray &line : head.split('\n'))
            if (line.toLower().startsWith(start))
                return line.mid(start.size()).trimmed();
        return {};
    }
};

// Whoever listens on a port of 127.0.0.1, by the bytes on a connection.
class HttpPeer
{
public:
    explicit HttpPeer(quint16 port = 0)
        : m_port(port)
    {}
    quint16 port() const { return m_port; }

    // The bytes as they stand, and the answer to them. Ends the connection.
    HttpAnswer send(const QByteArray &bytes, bool withoutBody = false) const
    {
        QTcpSocket socket;
        socket.connectToHost(u"127.0.0.1"_qs, m_port);
        if (!socket.waitForConnected(5000))
            return {};
        constexpr int patienceMs = 20000;
        socket.write(bytes);
        HttpAnswer answer;
        QByteArray received;
        qsizetype missing = 1;
        while (missing > 0 && socket.waitForReadyRead(patienceMs)) {
            received += socket.readAll();
            missing = missingBytes(received, withoutBody, &answer);
        }
        if (missing > 0)
            return {};
        answer.body = received.mid(answer.head.size() + 4);
        return answer;
    }
    HttpAnswer request(const QByteArray &method, const QByteArray &target, const QByteArray &headers = {},
                       const QByteArray &body = {}) const
    {
        const QByteArray length =
            body.isNull() ? QByteArray() : "Content-Length: " + QByteArray::number(body.size()) + "\r\n";
        return send(method + ' ' + target + " HTTP/1.1\r\nHost: 127.0.0.1\r\n" + headers + length + "\r\n" +
                        body,
                    method == "HEAD");
    }
    HttpAnswer get(const QByteArray &target, const QByteArray &headers = {}) const
    {
        return request("GET", target, headers);
    }

private:
    // At least one before the head is there. Sets what the head says.
    static qsizetype missingBytes(const QByteArray &received, bool withoutBody, HttpAnswer *answer)
    {
        const qsizetype end = answer->head.isEmpty() ? received.indexOf("\r\n\r\n") : answer->head.size();
        if (end < 0)
            return 1;
        answer->status = received.mid(9, 3).toInt();
        answer->head = received.left(end);
        const bool neverHasBody = withoutBody || answer->status == 204 || answer->status == 304;
        const qsizetype length = neverHasBody ? 0 : answer->header("Content-Length").toLongLong();
        return end + 4 + length - received.size();
    }

protected:
    quint16 m_port = 0;
};

// A running `dorvane serve`.
class ServeProcess : public HttpPeer
{
public:
    // `under`: a program that runs it, with its own arguments.
    explicit ServeProcess(const QString &folder, const QStringList &options = {},
                          const QStringList &under = {})
    {
        const QStringList command =
            under + QStringList{QStringLiteral(DORVANE_TOOL), u"serve"_qs, folder} + options;
        m_process.start(command.first(), command.mid(1));
        while (m_ready.count('\n') < 2 && m_process.waitForReadyRead(10000))
            m_ready += m_process.readAllStandardOutput();
        m_process.setReadChannel(QProcess::StandardError);
        m_port = quint16(m_ready.left(m_ready.indexOf('\n')).split(':').constLast().toUInt());
    }
    ~ServeProcess()
    {
        m_process.kill();
        m_process.waitForFinished();
    }
    Q_DISABLE_COPY_MOVE(ServeProcess)

    // The two lines that it prints when it is ready.
    QByteArray ready() const { return m_ready; }
    QProcess &process() { return m_process; }

    // What it has logged since it began, once `part` stands in it.
    QByteArray logWith(const QByteArray &part)
    {
        m_log += m_process.readAllStandardError();
        while (!m_log.contains(part) && m_process.waitForReadyRead(5000))
            m_log += m_process.readAllStandardError();
        return m_log;
    }

private:
    QProcess m_process;
    QByteArray m_ready;
    QByteArray m_log;
};
