// SPDX-License-Identifier: MIT
// installedmodule PATH: uses the QML module below PATH, as an application that is not linked to
// this library. Prints the paths of the library's files that were loaded.

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QUrl>
#include <QtQml/QQmlComponent>
#include <QtQml/QQmlEngine>

#include <cstdio>
#include <memory>

static const char document[] = R"(
import QtQml 2.15
import HNIPC 1.0

QtObject {
    property HNIPC printer: HNIPC {}
    property HNIPCAvailability daemons: HNIPCAvailability {}
    readonly property int battery: printer.qmlBatteryStatus
    property HNIPCRequest request: HNIPCRequest {
        method: "calibrateSupply"
        onFinished: {
            console.log("battery", battery, "calibrated", value, "engine", daemons.m4);
            Qt.exit(outcome === HNIPCRequest.Answered ? 0 : 1);
        }
    }
    Component.onCompleted: request.send()
}
)";

static void sayWhatIsLoaded()
{
    QFile maps(QString::fromLatin1("/proc/self/maps"));
    if (maps.open(QFile::ReadOnly)) {
        const QList<QByteArray> lines = maps.readAll().split('\n');
        for (const QByteArray &line : lines) {
            const QByteArray file = line.mid(qMax(0, int(line.indexOf('/'))));
            if (file.contains("/libhnipc")) {
                std::printf("%s\n", file.constData());
            }
        }
    }
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    if (argc != 2) {
        return 2;
    }
    QQmlEngine engine;
    engine.addImportPath(QFile::decodeName(argv[1]));
    QObject::connect(&engine, &QQmlEngine::exit, &application, &QCoreApplication::exit,
                     Qt::QueuedConnection);
    QQmlComponent component(&engine);
    component.setData(document, QUrl(QString::fromLatin1("document.qml")));
    const std::unique_ptr<QObject> root(component.create());
    if (!root) {
        std::fprintf(stderr, "%s", qPrintable(component.errorString()));
        return 1;
    }
    sayWhatIsLoaded();
    return application.exec();
}
