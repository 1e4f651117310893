#include "DVUnmarkedTexts.h"

#include "DVParsedTexts.h"

#include <QByteArrayView>
#include <QString>

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

using std::string_view;

namespace {

// Families of classes that are Qt's inside, and grow from release to release.
constexpr std::array<string_view, 22> familiesOfQt{
    "QAbstract", "QAccessible",  "QAndroid",   "QBluetooth", "QCocoa", "QCups",
    "QDBus",     "QDeclarative", "QGeo",       "QGstreamer", "QHelp",  "QHttp",
    "QNetwork",  "QPlace",       "QPlatform",  "QPrint",     "QQml",   "QQuick",
    "QSsl",      "QWebEngine",   "QWebSocket", "QWindows"};

// The others in the catalogs of Qt 6, in the order of the alphabet.
constexpr std::array<string_view, 90> contextsOfQt{"AVFCameraSession",
                                                   "CloseButton",
                                                   "MAC_APPLICATION_MENU",
                                                   "Print Device Input Slot",
                                                   "Print Device Output Bin",
                                                   "QAudioDecoder",
                                                   "QAxSelect",
                                                   "QCamera",
                                                   "QColorDialog",
                                                   "QComboBox",
                                                   "QCommandLineParser",
                                                   "QDB2Driver",
                                                   "QDB2Result",
                                                   "QDateTimeParser",
                                                   "QDialog",
                                                   "QDialogButtonBox",
                                                   "QDirModel",
                                                   "QDnsLookup",
                                                   "QDnsLookupRunnable",
                                                   "QDockWidget",
                                                   "QDomParser",
                                                   "QDtls",
                                                   "QDtlsClientVerifier",
                                                   "QErrorMessage",
                                                   "QFFmpegImageCapture",
                                                   "QFactoryLoader",
                                                   "QFile",
                                                   "QFileDevice",
                                                   "QFileDialog",
                                                   "QFileSystemModel",
                                                   "QFontDatabase",
                                                   "QFontDialog",
                                                   "QGnomeTheme",
                                                   "QGuiApplication",
                                                   "QHostInfo",
                                                   "QHostInfoAgent",
                                                   "QIBaseDriver",
                                                   "QIBaseResult",
                                                   "QIODevice",
                                                   "QImageCapture",
                                                   "QImageReader",
                                                   "QImageWriter",
                                                   "QInputDialog",
                                                   "QJsonParseError",
                                                   "QKeySequenceEdit",
                                                   "QLibrary",
                                                   "QLineEdit",
                                                   "QLocalServer",
                                                   "QLocalSocket",
                                                   "QLowEnergyController",
                                                   "QMYSQLDriver",
                                                   "QMYSQLResult",
                                                   "QMdiArea",
                                                   "QMdiSubWindow",
                                                   "QMediaMetaData",
                                                   "QMediaPlayer",
                                                   "QMediaRecorder",
                                                   "QMenu",
                                                   "QMenuBar",
                                                   "QMessageBox",
                                                   "QNativeSocketEngine",
                                                   "QPageSetupWidget",
                                                   "QPageSize",
                                                   "QPluginLoader",
                                                   "QProcess",
                                                   "QProgressDialog",
                                                   "QRegularExpression",
                                                   "QSQLiteDriver",
                                                   "QSQLiteResult",
                                                   "QSaveFile",
                                                   "QScrollBar",
                                                   "QSerialPort",
                                                   "QSharedMemory",
                                                   "QShortcut",
                                                   "QSocks5SocketEngine",
                                                   "QSpiAccessibleBridge",
                                                   "QStandardPaths",
                                                   "QSystemSemaphore",
                                                   "QTabBar",
                                                   "QTcpServer",
                                                   "QUdpSocket",
                                                   "QUndoGroup",
                                                   "QUndoModel",
                                                   "QUndoStack",
                                                   "QUnicodeControlCharacterMenu",
                                                   "QWhatsThisAction",
                                                   "QWidget",
                                                   "QWidgetTextControl",
                                                   "QWizard",
                                                   "QXmlStream"};
static_assert(std::is_sorted(contextsOfQt.begin(), contextsOfQt.end()));

QByteArray inUtf8(const char *text)
{
    return QByteArray::fromRawData(text, text ? qsizetype(std::strlen(text)) : 0);
}

} // namespace

bool dv_isContextOfQt(const char *context)
{
    if (!context || !*context)
        return false;
    const string_view name(context);
    return std::any_of(familiesOfQt.begin(), familiesOfQt.end(),
                       [&](string_view family) { return name.starts_with(family); }) ||
           std::binary_search(contextsOfQt.begin(), contextsOfQt.end(), name);
}

void DVUnmarkedTexts::add(const QString &context, const QStringList &keys)
{
    if (keys.isEmpty()) {
        if (!context.isEmpty())
            m_contexts.insert(context.toUtf8());
        return;
    }
    auto &texts = m_texts[context.toUtf8()];
    for (const QString &key : keys)
        texts.insert(key.toUtf8());
}

bool DVUnmarkedTexts::mayMark(const char *context, const char *sourceText) const
{
    if (dv_isContextOfQt(context) || std::strcmp(sourceText, "QT_LAYOUT_DIRECTION") == 0)
        return false;
    const QByteArray contextText = inUtf8(context);
    if (m_contexts.contains(contextText))
        return false;
    const QByteArray source = inUtf8(sourceText);
    const auto isNamed = [&](const QByteArray &in) {
        const auto texts = m_texts.constFind(in);
        return texts != m_texts.constEnd() && texts->contains(source);
    };
    return !isNamed(contextText) && !isNamed(QByteArray("")) &&
           !dv_isForPrograms(QString::fromUtf8(sourceText));
}
