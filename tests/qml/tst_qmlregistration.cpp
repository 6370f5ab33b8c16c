// SPDX-License-Identifier: MIT
#include "scene.h"
#include "screen/registration.h"
#include "support/fakedaemons.h"
#include "support/waituntil.h"

#include <QtCore/QFile>

using namespace Expected;

// The QtQuick 1 screen of the guide, with classes that the application registers, without the
// module. Qt 5 and 6 accept all of it but the version of the first import.
class tst_QmlRegistration : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { registerClasses(); }
    void screenWithoutTheModule();
};

static QByteArray screenOfTheGuide()
{
    QFile file(QString::fromLatin1(HNIPC_GUIDES_SOURCE_DIR "/screen/QtQuick1.qml"));
    if (!file.open(QFile::ReadOnly)) {
        qFatal("no %s", qPrintable(file.fileName()));
    }
    const QByteArray text = file.readAll();
    const QByteArray import = "import QtQuick 1.0\n";
    if (text.count(import) != 1) {
        qFatal("another import");
    }
    return QByteArray(text).replace(import, "import QtQuick 2.15\n");
}

void tst_QmlRegistration::screenWithoutTheModule()
{
    FakeDaemons daemons(false);
    daemons[M4].answer("forwardFeed", "(false,)");
    daemons[SUPPLYD].answer("supplySupplyPercent", "(87.4,)");
    Scene scene(false);
    QObject *const root = scene.show(screenOfTheGuide());
    const auto shows = [root](const char *name, const char *property, const QVariant &value) {
        const QObject *const item = root->findChild<QObject *>(QString::fromLatin1(name));
        const bool is = item && waitUntil([&]() { return item->property(property) == value; });
        if (item && !is) {
            qWarning("%s: %s", name, qPrintable(item->property(property).toString()));
        }
        return is;
    };
    const auto text = [](const char *value) { return QVariant(QString::fromLatin1(value)); };

    QVERIFY(shows("supply", "text", text("The supply is not known")));
    QVERIFY(shows("area", "enabled", false));
    daemons.start(SUPPLYD);
    QVERIFY(shows("supply", "text", text("87 % left")));
    QVERIFY(shows("area", "enabled", false));

    daemons.start(M4);
    daemons.start(IOEXPD);
    QVERIFY(shows("area", "enabled", true));
    QVERIFY(daemons.emitSignal(M4, "M4_M4PrinterLid", "(true,)"));
    QVERIFY(shows("lid", "text", text("The lid was opened")));
    QVERIFY(daemons.emitSignal(IOEXPD, "IOEXPD_PrintButton", "()"));
    QVERIFY(shows("result", "text", text("The print engine did not feed")));
    QCOMPARE(daemons[M4].calls().first().line(),
             QByteArray("/ local.IHNIPCM4.forwardFeed u (uint32 400,)"));
    daemons[M4].answer("forwardFeed", "(true,)");
    QVERIFY(daemons.emitSignal(IOEXPD, "IOEXPD_PrintButton", "()"));
    QVERIFY(shows("result", "text", text("Fed")));

    daemons.stop(M4);
    QVERIFY(shows("area", "enabled", false));
    QVERIFY(daemons.emitSignal(IOEXPD, "IOEXPD_PrintButton", "()"));
    QVERIFY(shows("result", "text", text("Not fed: org.hnipc.m4 is not on the bus")));
}

HNIPC_QML_TEST_MAIN(tst_QmlRegistration)

#include "tst_qmlregistration.moc"
