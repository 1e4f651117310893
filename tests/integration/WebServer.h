// WebServer: nginx, Apache or Caddy over a delivery tree, with the configuration that the tool prints.
#pragma once

#include "ToolProcess.h"

#include <DVTestFiles.h>

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>
#include <QUuid>

#include <csignal>
#include <optional>
#include <sys/prctl.h>
#include <unistd.h>

// A process of the current user on a free port of 127.0.0.1, with its files in a folder of its own. It ends
// with this object, or with the test if that is killed. Around the printed configuration stands what
// a machine can have for other sites, such as compression of everything.
class WebServer : public HttpPeer
{
public:
    // Null where the server is not installed: scripts/setup brings it.
    static QString program(const QString &server)
    {
        const QString name = server == u"apache"_qs ? u"apache2"_qs : server;
        const QString brought = QStringLiteral(DORVANE_SOURCE_DIR "/build/servers");
        const QString found = QStandardPaths::findExecutable(name);
        return !found.isNull() ? found
                               : QStandardPaths::findExecutable(name, {u"/usr/sbin"_qs, u"/usr/local/bin"_qs,
                                                                       brought + u"/usr/sbin"_qs,
                                                                       brought + u"/usr/bin"_qs});
    }

    // `project` is packed into `tree` once more for the configuration; nothing changes in the tree by that.
    WebServer(const QString &server, const QString &project, const QString &tree)
        : m_server(server)
        , m_tree(tree)
    {
        QFile::setPermissions(m_folder.path(), QFile::Permissions(0x7755)); // the server may be another user
        markTree();
        // Somebody else can take the port between the question and the start.
        for (int attempt = 0; attempt < 5 && m_port == 0; ++attempt)
            start(project);
    }
    ~WebServer() { stop(); }
    Q_DISABLE_COPY_MOVE(WebServer)

    QByteArray log() const { return DVTestFiles::read(path("delivery.log")); }
    // What it says of itself, for a test that fails.
    QByteArray complaints()
    {
        return m_process.readAllStandardError() + DVTestFiles::read(path("error.log"));
    }

private:
    QString path(const char *name) const { return m_folder.path() + u'/' + QLatin1StringView(name); }
    static quint16 freePort()
    {
        QTcpServer server;
        return server.listen(QHostAddress::LocalHost) ? server.serverPort() : quint16(0);
    }
    // A file that nobody else delivers, to know our server by.
    void markTree()
    {
        m_mark = QUuid::createUuid().toString(QUuid::WithoutBraces);
        const QString folder = m_tree + u"/projects/mark/"_qs + m_mark + u"/en"_qs;
        QVERIFY(QDir().mkpath(folder));
        QFile file(folder + u"/strings.gz"_qs);
        QVERIFY(file.open(QIODevice::WriteOnly));
    }

    void start(const QString &project)
    {
        const quint16 port = freePort();
        const ToolRun printed =
            ToolRun::tool({u"pack"_qs, u"--tree"_qs, project, m_tree, u"--server"_qs, m_server,
                           u"--listen"_qs, u"127.0.0.1:%1"_qs.arg(port), u"--log"_qs, path("delivery.log")});
        QVERIFY2(printed.status == 0, printed.errors.constData());
        DVTestFiles::write(path("site"), printed.output);
        DVTestFiles::write(path("main"), mainConfiguration());
        m_process.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGTERM); });
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"HOME"_qs, m_folder.path());
        environment.insert(u"XDG_DATA_HOME"_qs, m_folder.path());
        environment.insert(u"XDG_CONFIG_HOME"_qs, m_folder.path());
        m_process.setProcessEnvironment(environment);
        m_process.start(program(m_server), arguments());
        if (m_process.waitForStarted() && answers(port))
            m_port = port;
        else
            stop();
    }
    bool answers(quint16 port)
    {
        const QByteArray target = "/projects/mark/" + m_mark.toLatin1() + "/en/strings.gz";
        return QTest::qWaitFor(
                   [this, port, target] {
                       return m_process.state() == QProcess::NotRunning ||
                              HttpPeer(port).get(target).status == 200;
                   },
                   20000) &&
               m_process.state() == QProcess::Running;
    }
    void stop()
    {
        m_process.terminate();
        if (m_process.state() != QProcess::NotRunning && !m_process.waitForFinished(10000))
            m_process.kill();
        m_process.waitForFinished();
    }

    QStringList arguments() const
    {
        if (m_server == u"nginx"_qs)
            return {u"-p"_qs, m_folder.path(), u"-c"_qs, path("main")};
        if (m_server == u"apache"_qs)
            return {u"-f"_qs, path("main"), u"-DFOREGROUND"_qs};
        return {u"run"_qs, u"--config"_qs, path("main"), u"--adapter"_qs, u"caddyfile"_qs};
    }
    QByteArray mainConfiguration() const
    {
        const QByteArray own = m_server == u"nginx"_qs    ? nginx()
                               : m_server == u"apache"_qs ? apache()
                                                          : caddy();
        QByteArray text = own;
        return text.replace("FOLDER", m_folder.path().toUtf8());
    }
    static QByteArray nginx()
    {
        return QByteArray(geteuid() == 0 ? "user www-data;\n" : "") +
               "daemon off; worker_processes 2; pid FOLDER/pid; error_log FOLDER/error.log;\n"
               "events { worker_connections 256; }\n"
               "http {\n"
               "client_body_temp_path FOLDER/body; proxy_temp_path FOLDER/proxy; fastcgi_temp_path "
               "FOLDER/fast;\n"
               "scgi_temp_path FOLDER/scgi; uwsgi_temp_path FOLDER/uwsgi; access_log FOLDER/access.log;\n"
               "types { application/gzip gz; }\n"
               "gzip on; gzip_types *; gzip_min_length 1; gzip_proxied any; sendfile on; tcp_nopush on;\n"
               "expires 30d; charset utf-8; charset_types *;\n"
               "include FOLDER/site;\n}\n";
    }
    static QByteArray apache()
    {
        QByteArray text;
        for (const char *module : {"mpm_event", "authz_core", "mime", "dir", "alias", "filter", "deflate",
                                   "expires", "headers", "rewrite", "env", "setenvif", "negotiation"})
            text += QByteArray("LoadModule ") + module + "_module /usr/lib/apache2/modules/mod_" + module +
                    ".so\n";
        return text + (geteuid() == 0 ? "User www-data\nGroup www-data\n" : "") +
               "ServerRoot FOLDER\nServerName localhost\nPidFile FOLDER/pid\nErrorLog FOLDER/error.log\n"
               "DefaultRuntimeDir FOLDER\nTypesConfig /dev/null\nStartServers 1\nServerLimit "
               "1\nThreadsPerChild 32\n"
               "MaxRequestWorkers 32\nMinSpareThreads 1\nMaxSpareThreads 32\n"
               "<Directory />\nRequire all denied\n</Directory>\n"
               "AddEncoding x-gzip .gz\nAddType application/gzip .gz\nSetOutputFilter DEFLATE\n"
               "AddDefaultCharset utf-8\nInclude FOLDER/site\n";
    }
    static QByteArray caddy() { return "{\n\tadmin off\n\tauto_https off\n}\nimport FOLDER/site\n"; }

    QString m_server;
    QString m_tree;
    QString m_mark;
    QTemporaryDir m_folder;
    QProcess m_process;
};
