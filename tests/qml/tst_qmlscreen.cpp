// SPDX-License-Identifier: MIT
#include "scene.h"
#include "support/fakedaemons.h"
#include "support/waituntil.h"

#include <QtCore/QLocale>

using namespace Expected;

// The screen of the examples never shows values that are not known. The session in the manual tests
// the usual use.
class tst_QmlScreen : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QLocale::setDefault(QLocale(QLocale::German)); }
    void init();
    void cleanup();

    void buttonNeedsTheEngine();
    void outcomes_data();
    void outcomes();
    void outcomeDisappearsUnlessItIsUnknown_data();
    void outcomeDisappearsUnlessItIsUnknown();
    void numbersAreWrittenByLocale();
    void unconfirmedValueIsMarked_data();
    void unconfirmedValueIsMarked();

private:
    bool becomes(const QByteArray &expression, const QByteArray &value)
    {
        const bool is = waitUntil([&]() { return m_scene->js(expression) == value; });
        if (!is) {
            qWarning("%s is %s", expression.constData(), m_scene->js(expression).constData());
        }
        return is;
    }

    bool press() { return m_daemons->emitSignal(IOEXPD, "IOEXPD_PrintButton", "()"); }

    QScopedPointer<FakeDaemons> m_daemons;
    QScopedPointer<Scene> m_scene;
};

void tst_QmlScreen::init()
{
    m_daemons.reset(new FakeDaemons);
    (*m_daemons)[M4].answer("getError", "(0,)");
    (*m_daemons)[M4].answer("printerLid", "(false,)");
    (*m_daemons)[SUPPLYD].answer("supplySupplyPercent", "(1234.4,)");
    m_scene.reset(new Scene);
    m_scene->showFile("../../examples/screen/Screen.qml");
    QVERIFY(becomes("error.current && lid.current && supply.current", "true"));
    QVERIFY(becomes("area.enabled", "true"));
}

void tst_QmlScreen::cleanup()
{
    m_scene.reset();
    m_daemons.reset();
}

void tst_QmlScreen::buttonNeedsTheEngine()
{
    (*m_daemons)[M4].hold("forwardFeed");
    QCOMPARE(m_scene->js("label.text"), QByteArray("\"Feed\""));
    QVERIFY(press());
    QVERIFY(becomes("[area.enabled, label.text]", "[false,\"Feeding\"]"));
    QVERIFY(waitUntil([this]() { return (*m_daemons)[M4].held() == 1; }));
    (*m_daemons)[M4].answerHeld(0, "(true,)");
    QVERIFY(becomes("[area.enabled, label.text]", "[true,\"Feed\"]"));
    m_daemons->stop(M4);
    QVERIFY(becomes("area.enabled", "false"));
    m_daemons->start(M4);
    QVERIFY(becomes("area.enabled", "true"));
}

void tst_QmlScreen::outcomes_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("fed") << QByteArray("(true,)") << QByteArray("\"Fed\"");
    QTest::newRow("false") << QByteArray("(false,)")
                           << QByteArray("\"The print engine did not feed\"");
    QTest::newRow("error") << QByteArray("error") << QByteArray("\"Not fed: It is hot\"");
    QTest::newRow("error without a text")
        << QByteArray("silent error") << QByteArray("\"Not fed: org.example.Hot\"");
    QTest::newRow("absent") << QByteArray("absent")
                            << QByteArray("\"Not fed: the print engine is not running\"");
}

void tst_QmlScreen::outcomes()
{
    QFETCH(QByteArray, answer);
    QFETCH(QByteArray, text);
    WirePeer &m4 = (*m_daemons)[M4];
    if (answer == "absent") {
        m_daemons->stop(M4);
    } else if (answer.endsWith("error")) {
        m4.answerError("forwardFeed", "org.example.Hot", answer == "error" ? "It is hot" : "");
    } else {
        m4.answer("forwardFeed", answer);
    }
    QCOMPARE(m_scene->js("[result.text, result.opacity]"), QByteArray("[\"\",0]"));
    QVERIFY(press());
    QVERIFY(becomes("[result.text, result.opacity]", "[" + text + ",1]"));
}

void tst_QmlScreen::outcomeDisappearsUnlessItIsUnknown_data()
{
    QTest::addColumn<bool>("isUnknown");
    QTest::newRow("fed") << false;
    QTest::newRow("unknown") << true;
}

void tst_QmlScreen::outcomeDisappearsUnlessItIsUnknown()
{
    QFETCH(bool, isUnknown);
    if (isUnknown) {
        (*m_daemons)[M4].leaveOn("forwardFeed");
    } else {
        (*m_daemons)[M4].answer("forwardFeed", "(true,)");
    }
    QVERIFY(press());
    QVERIFY(becomes("result.opacity", "1"));
    QCOMPARE(m_scene->js("result.text.indexOf('Perhaps fed, look at the printer: ')"),
             QByteArray(isUnknown ? "0" : "-1"));
    QCOMPARE(m_scene->js("recently.running"), QByteArray("true"));
    m_scene->js("recently.stop()"); // as if its time had passed
    QCOMPARE(m_scene->js("result.opacity"), QByteArray(isUnknown ? "1" : "0"));
}

void tst_QmlScreen::numbersAreWrittenByLocale()
{
    QStringList texts;
    const QList<QObject *> all = m_scene->root()->findChildren<QObject *>();
    for (const QObject *each : all) {
        texts.append(each->property("text").toString());
    }
    QVERIFY2(texts.contains(QString::fromLatin1("Supply: 1.234 % left")),
             qPrintable(texts.join(QLatin1String("; "))));
}

void tst_QmlScreen::unconfirmedValueIsMarked_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QByteArray>("words");
    QTest::newRow("not read yet") << QByteArray("hold") << QByteArray("\"5, checking\"");
    QTest::newRow("refused") << QByteArray("error")
                             << QByteArray("\"5, not confirmed (It is hot)\"");
    QTest::newRow("refused without a text")
        << QByteArray("silent error") << QByteArray("\"5, not confirmed (org.example.Hot)\"");
    QTest::newRow("absent") << QByteArray("absent")
                            << QByteArray("\"not known (its daemon is not running)\"");
}

void tst_QmlScreen::unconfirmedValueIsMarked()
{
    QFETCH(QByteArray, answer);
    QFETCH(QByteArray, words);
    WirePeer &m4 = (*m_daemons)[M4];
    if (answer == "absent") {
        m_daemons->stop(M4);
    } else {
        if (answer == "hold") {
            m4.hold("getError");
        } else {
            m4.answerError("getError", "org.example.Hot", answer == "error" ? "It is hot" : "");
        }
        QVERIFY(m_daemons->emitSignal(M4, "M4_Error", "(5,)"));
    }
    QVERIFY(becomes("inWords(error, '5')", words));
}

HNIPC_QML_TEST_MAIN(tst_QmlScreen)

#include "tst_qmlscreen.moc"
