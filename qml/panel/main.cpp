// SPDX-License-Identifier: MIT
#include "printer.h"

#include <hnipc/hnipc_version.h>

#include <QtCore/QCommandLineParser>
#include <QtCore/QSharedPointer>
#include <QtCore/QTimer>
#include <QtGui/QGuiApplication>
#include <QtGui/QImage>
#include <QtQuick/QQuickItem>
#include <QtQuick/QQuickItemGrabResult>
#include <QtQuick/QQuickView>

#include <cstdio>
#include <utility>

namespace {

enum ExitCode { Failed = 1, WrongUsage = 2 };

// What "--shoot 2.5=FILE" asks for.
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

} // namespace

int main(int argc, char *argv[])
{
    QGuiApplication application(argc, argv);
    QGuiApplication::setApplicationName(QStringLiteral("hnipc-panel"));
    QGuiApplication::setApplicationVersion(QStringLiteral(HNIPC_VERSION_STRING));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("The label printer's front panel."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption full(QStringLiteral("fullscreen"),
                                  QStringLiteral("Fill the display."));
    const QCommandLineOption shoot(
        QStringLiteral("shoot"),
        QStringLiteral("Write a picture of the panel after so many seconds, and end after the last"
                       "; may be given several times."),
        QStringLiteral("seconds=file"));
    parser.addOptions({ full, shoot });
    if (!parser.parse(QCoreApplication::arguments())) {
        return fail(WrongUsage, parser.errorText() + QStringLiteral(" See hnipc-panel --help."));
    }
    parser.process(application); // --help and --version
    if (!parser.positionalArguments().isEmpty()) {
        return fail(WrongUsage, QStringLiteral("takes no arguments; see --help"));
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

    Printer printer;
    QQuickView view;
    view.setTitle(QStringLiteral("Label printer"));
    view.setResizeMode(QQuickView::SizeRootObjectToView);
    view.setMinimumSize(QSize(400, 240));
    view.setInitialProperties(
        { { QStringLiteral("printer"), QVariant::fromValue<QObject *>(&printer) } });
    view.setSource(QUrl(QStringLiteral("qrc:/panel/Panel.qml")));

    auto shotsLeft = shots.size();
    const auto take = [&view, &shotsLeft](const Shot &shot) {
        // Not of the window: on some platforms it has none.
        const auto picture = view.rootObject()->grabToImage();
        if (!picture) {
            QCoreApplication::exit(fail(Failed, QStringLiteral("there is no picture")));
            return;
        }
        QObject::connect(picture.data(), &QQuickItemGrabResult::ready, &view,
                         [&shotsLeft, picture, shot]() {
            if (!picture->image().save(shot.file)) {
                QCoreApplication::exit(
                    fail(Failed, QStringLiteral("%1: cannot be written").arg(shot.file)));
            } else if (--shotsLeft == 0) {
                QCoreApplication::quit();
            }
        });
    };
    // The clock starts in the event loop, where the window gets its size.
    QTimer::singleShot(0, &view, [&view, &shots, &take]() {
        for (const Shot &shot : std::as_const(shots)) {
            QTimer::singleShot(int(shot.seconds * 1000), &view, [&take, shot]() { take(shot); });
        }
    });

    if (parser.isSet(full)) {
        view.showFullScreen();
    } else {
        view.resize(800, 480);
        view.show();
    }
    // Without its screen the engine has said why.
    return view.status() == QQuickView::Ready ? application.exec() : Failed;
}
