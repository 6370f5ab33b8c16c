// SPDX-License-Identifier: MIT
#include "keyguard.h"
#include "language.h"

#include "common/qtmessages.h"

#include <hnipc/hnipc_version.h>

#include <QtCore/QCommandLineParser>
#include <QtCore/QSharedPointer>
#include <QtCore/QTimer>
#include <QtGui/QGuiApplication>
#include <QtGui/QImage>
#include <QtGui/QScreen>
#include <QtQml/QQmlEngine>
#include <QtQml/QQmlError>
#include <QtQuick/QQuickItem>
#include <QtQuick/QQuickItemGrabResult>
#include <QtQuick/QQuickView>

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace {

enum ExitCode { Failed = 1, WrongUsage = 2, NoBus = 3 };

// The value of --shoot, such as 2.5=FILE.
struct Shot
{
    double seconds = -1;
    QString file;
};

Shot readShot(const QString &text)
{
    bool isNumber = false;
    Shot result;
    result.seconds = text.section(QLatin1Char('='), 0, 0).toDouble(&isNumber);
    result.file = text.section(QLatin1Char('='), 1);
    if (!isNumber || result.file.isEmpty()) {
        result.seconds = -1;
    }
    return result;
}

int fail(int exitCode, const QString &text)
{
    std::fprintf(stderr, "hnipc-panel: %s\n", qPrintable(text));
    return exitCode;
}

// Qt's messages while it opens the display. If there is none, Qt aborts, even for --help.
struct Start
{
    QStringList messages;
    QString cause;
} start;

void whileStarting(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (type == QtFatalMsg) {
        fail(Failed,
             QStringLiteral("no display is available: %1. Set DISPLAY or WAYLAND_DISPLAY, or "
                            "QT_QPA_PLATFORM to a platform plugin that works here.")
                 .arg(start.cause.isEmpty() ? message.simplified() : start.cause));
        std::_Exit(Failed);
    }
    if (start.cause.isEmpty()
        && QLatin1String(context.category).startsWith(QLatin1String("qt.qpa"))) {
        start.cause = message.simplified();
    }
    start.messages += qFormatLogMessage(type, context, message);
}

} // namespace

int main(int argc, char *argv[])
{
    qInstallMessageHandler(whileStarting);
    QGuiApplication application(argc, argv);
    qInstallMessageHandler(nullptr);
    Toolkit::hideOwnerWarning();
    for (const QString &message : std::as_const(start.messages)) {
        std::fprintf(stderr, "%s\n", qPrintable(message));
    }
    QGuiApplication::setApplicationName(QStringLiteral("hnipc-panel"));
    QGuiApplication::setApplicationVersion(QStringLiteral(HNIPC_VERSION_STRING));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("The label printer's front panel."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption full(QStringLiteral("fullscreen"),
                                  QStringLiteral("Show the window in full screen."));
    const QCommandLineOption shoot(
        QStringLiteral("shoot"),
        QStringLiteral("Write a picture of the front panel to a file after this number of seconds, "
                       "and end after the last picture; may be given several times."),
        QStringLiteral("seconds=file"));
    const QCommandLineOption language(
        QStringLiteral("language"),
        QStringLiteral("The language of texts and numbers, one of %1; default that of the locale, "
                       "or English.")
            .arg(languages().join(QStringLiteral(", "))),
        QStringLiteral("code"));
    const QCommandLineOption exitWithoutBus(
        QStringLiteral("exit-without-bus"),
        QStringLiteral("End with 3 if there is no bus, or when its connection is lost, so that a "
                       "service manager starts the front panel again."));
    parser.addOptions({ full, shoot, language, exitWithoutBus });
    if (!parser.parse(QCoreApplication::arguments())) {
        return fail(WrongUsage, parser.errorText() + QStringLiteral(" See hnipc-panel --help."));
    }
    parser.process(application); // --help and --version
    if (!parser.positionalArguments().isEmpty()) {
        return fail(WrongUsage,
                    QStringLiteral("unexpected argument \"%1\"; see hnipc-panel --help")
                        .arg(parser.positionalArguments().constFirst()));
    }
    QList<Shot> shots;
    const QStringList texts = parser.values(shoot);
    for (const QString &text : texts) {
        const Shot shot = readShot(text);
        if (shot.seconds < 0) {
            return fail(WrongUsage,
                        QStringLiteral("--shoot: expected seconds=file, not \"%1\"").arg(text));
        }
        shots += shot;
    }

    const QString code = parser.value(language);
    if (parser.isSet(language) && !languages().contains(code)) {
        return fail(WrongUsage,
                    QStringLiteral("--language: expected one of %1, not \"%2\"")
                        .arg(languages().join(QStringLiteral(", ")), code));
    }
    speak(parser.isSet(language) ? QLocale(code) : QLocale());

    QQuickView view;
    new KeyGuard(&view);
    view.setTitle(QCoreApplication::translate("Panel", "Label printer"));
    view.setResizeMode(QQuickView::SizeRootObjectToView);
    view.setMinimumSize(QSize(400, 240));
    view.engine()->addImportPath(QCoreApplication::applicationDirPath()
                                 + QStringLiteral("/" HNIPC_QML_FROM_BIN));
    view.engine()->addImportPath(QStringLiteral("qrc:/"));
    const auto endWithoutBus = []() {
        QCoreApplication::exit(fail(NoBus, QStringLiteral("no connection to the bus")));
    };
    // Queued, because there may be no event loop yet.
    QObject::connect(view.engine(), &QQmlEngine::exit, &application, endWithoutBus,
                     Qt::QueuedConnection);
    view.setInitialProperties(
        { { QStringLiteral("exitsWithoutBus"), parser.isSet(exitWithoutBus) } });
    view.setSource(QUrl(QStringLiteral("qrc:/HNIPC/Panel/Panel.qml")));
    if (view.status() != QQuickView::Ready) {
        const QList<QQmlError> errors = view.errors();
        for (const QQmlError &error : errors) {
            fail(Failed, error.toString());
        }
        return Failed;
    }

    auto shotsLeft = shots.size();
    const auto take = [&view, &shotsLeft](const Shot &shot) {
        // Of the root item, because on some platforms the window itself cannot be grabbed.
        const auto picture = view.rootObject()->grabToImage();
        if (!picture) {
            QCoreApplication::exit(
                fail(Failed, QStringLiteral("cannot take a picture of the front panel")));
            return;
        }
        QObject::connect(
            picture.data(), &QQuickItemGrabResult::ready, &view, [&shotsLeft, picture, shot]() {
                if (!picture->image().save(shot.file)) {
                    QCoreApplication::exit(
                        fail(Failed, QStringLiteral("%1: cannot be written").arg(shot.file)));
                } else if (--shotsLeft == 0) {
                    QCoreApplication::quit();
                }
            });
    };
    // The time begins in the event loop, when the window has its size.
    QTimer::singleShot(0, &view, [&view, &shots, &take]() {
        for (const Shot &shot : std::as_const(shots)) {
            QTimer::singleShot(int(shot.seconds * 1000), &view, [&take, shot]() { take(shot); });
        }
    });

    if (parser.isSet(full)) {
        view.setGeometry(view.screen()->geometry()); // needed if there is no window manager
        view.showFullScreen();
    } else {
        view.resize(800, 480);
        view.show();
    }
    return application.exec();
}
