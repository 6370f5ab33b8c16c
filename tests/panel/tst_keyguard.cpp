// SPDX-License-Identifier: MIT
#include "support/waituntil.h"

#include "keyguard.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtGui/QGuiApplication>
#include <QtGui/QKeyEvent>
#include <QtGui/QWindow>
#include <QtTest/QTest>

#include <memory>

// The keys of a keyboard and of a scanner, and which of them a window receives. To see that the
// window has not received a key, each test waits for a later key.
class tst_KeyGuard : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void burstIsDropped_data();
    void burstIsDropped();
    void keyThatPressesArrivesOnce_data();
    void keyThatPressesArrivesOnce();
    void modifiersAreKept();
    void keyThatMovesArrivesAtOnce_data();
    void keyThatMovesArrivesAtOnce();
    void enterAfterText_data();
    void enterAfterText();
    void clockOfTheWindowSystemCounts_data();
    void clockOfTheWindowSystemCounts();
    void delayedKeysArriveFirst();
    void movedFocusDropsTheKey();
    void releaseWithoutPress();

private:
    void scan(const QString &text);
    bool arrives(Qt::Key key);

    class Window;
    std::unique_ptr<Window> m_window;
};

// Records its keys, as in "+F2 -F2".
class tst_KeyGuard::Window : public QWindow
{
public:
    QStringList keys;

    void moveFocus() { m_focus = &m_other; }

    QObject *focusObject() const override { return m_focus; }

protected:
    void keyPressEvent(QKeyEvent *event) override { note("+", *event); }
    void keyReleaseEvent(QKeyEvent *event) override { note("-", *event); }

private:
    QObject m_other;
    QObject *m_focus = this;

    void note(const QString &sign, const QKeyEvent &event)
    {
        keys += sign + (event.isAutoRepeat() ? "again " : "")
            + QKeySequence(int(event.key()) | int(event.modifiers())).toString();
    }
};

void tst_KeyGuard::init()
{
    m_window.reset(new Window);
    new KeyGuard(m_window.get());
    m_window->show();
    m_window->requestActivate();
    QVERIFY(waitUntil([this]() { return m_window->isExposed() && m_window->isActive(); }));
}

// Sends all keys at once, like a keyboard that has a key for each character. Some keys have no
// text.
void tst_KeyGuard::scan(const QString &text)
{
    for (const QChar character : text) {
        const auto modifier = character.isUpper() ? Qt::ShiftModifier : Qt::NoModifier;
        switch (character.unicode()) {
        // clang-format off
        case '\r': QTest::keyClick(m_window.get(), Qt::Key_Return); break;
        case '\n': QTest::keyClick(m_window.get(), Qt::Key_Enter, Qt::KeypadModifier); break;
        case '\t': QTest::keyClick(m_window.get(), Qt::Key_Tab); break;
        case '\x02': QTest::keyClick(m_window.get(), Qt::Key_F2); break;
        case '\x1d': QTest::keyClick(m_window.get(), Qt::Key_BracketRight, Qt::ControlModifier); break;
        default: QTest::keyClick(m_window.get(), character.toLatin1(), modifier);
            // clang-format on
        }
    }
}

// Presses a key as a person does, with pauses before and after, until the window receives it. Then
// removes it from the received keys.
bool tst_KeyGuard::arrives(Qt::Key key)
{
    const QString name = QKeySequence(key).toString();
    QElapsedTimer pause;
    pause.start();
    return waitUntil([&]() {
        if (m_window->keys.contains("-" + name)) {
            return m_window->keys.removeOne("+" + name) && m_window->keys.removeOne("-" + name);
        }
        if (pause.elapsed() > 250) {
            pause.start();
            QTest::keyClick(m_window.get(), key);
        }
        return false;
    });
}

void tst_KeyGuard::burstIsDropped_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("article") << "PKD-0C1F\r";
    QTest::newRow("digits") << "4006381333931\n";
    QTest::newRow("a letter alone") << "d";
    QTest::newRow("a letter and Enter") << "d\r";
    QTest::newRow("from F2") << "\x02"
                                "PKD\r";
    QTest::newRow("from Space") << " PKD\r";
    QTest::newRow("from Enter") << "\rPKD\r";
    QTest::newRow("keys without text") << "\x02 \r\x02 \r";
    QTest::newRow("two keys") << "\x02\r";
    QTest::newRow("Space within") << "LOT 7 A\r";
    QTest::newRow("Tab at the end") << "PKD-0C1F\t";
    QTest::newRow("Tab and Enter at the end") << "PKD-0C1F\t\r";
    QTest::newRow("separators of groups") << "\x1d"
                                             "0104006\x1d"
                                             "10A\r";
}

void tst_KeyGuard::burstIsDropped()
{
    QFETCH(QString, text);
    scan(text);
    QVERIFY(arrives(Qt::Key_F9));
    QCOMPARE(m_window->keys, QStringList());
}

void tst_KeyGuard::keyThatPressesArrivesOnce_data()
{
    QTest::addColumn<int>("key");
    QTest::addColumn<QString>("name");
    QTest::newRow("F2") << int(Qt::Key_F2) << "F2";
    QTest::newRow("F8") << int(Qt::Key_F8) << "F8";
    QTest::newRow("Return") << int(Qt::Key_Return) << "Return";
    QTest::newRow("Enter") << int(Qt::Key_Enter) << "Enter";
    QTest::newRow("Space") << int(Qt::Key_Space) << "Space";
}

void tst_KeyGuard::keyThatPressesArrivesOnce()
{
    QFETCH(int, key);
    QFETCH(QString, name);
    QTest::keyPress(m_window.get(), Qt::Key(key));
    QVERIFY(waitUntil([this]() { return m_window->keys.size() >= 2; }));
    QKeyEvent release(QEvent::KeyRelease, key, Qt::NoModifier, QString(), true); // key is held
    QCoreApplication::sendEvent(m_window.get(), &release);
    QKeyEvent again(QEvent::KeyPress, key, Qt::NoModifier, QString(), true);
    QCoreApplication::sendEvent(m_window.get(), &again);
    QVERIFY(arrives(Qt::Key_F10));
    QTest::keyRelease(m_window.get(), Qt::Key(key));
    QVERIFY(arrives(Qt::Key_F9));
    QCOMPARE(m_window->keys, (QStringList { "+" + name, "-" + name }));
}

void tst_KeyGuard::modifiersAreKept()
{
    QTest::keyClick(m_window.get(), Qt::Key_F2, Qt::ControlModifier);
    QVERIFY(arrives(Qt::Key_F9));
    QCOMPARE(m_window->keys, (QStringList { "+Ctrl+F2", "-Ctrl+F2" }));
}

void tst_KeyGuard::keyThatMovesArrivesAtOnce_data()
{
    QTest::addColumn<int>("key");
    QTest::addColumn<QString>("name");
    QTest::newRow("Tab") << int(Qt::Key_Tab) << "Tab";
    QTest::newRow("Backtab") << int(Qt::Key_Backtab) << "Backtab";
    QTest::newRow("left") << int(Qt::Key_Left) << "Left";
    QTest::newRow("right") << int(Qt::Key_Right) << "Right";
    QTest::newRow("up") << int(Qt::Key_Up) << "Up";
    QTest::newRow("down") << int(Qt::Key_Down) << "Down";
    QTest::newRow("Escape") << int(Qt::Key_Escape) << "Esc";
}

// The event loop does not run meanwhile.
void tst_KeyGuard::keyThatMovesArrivesAtOnce()
{
    QFETCH(int, key);
    QFETCH(QString, name);
    QStringList expected = { "+" + name };
    QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier);
    QCoreApplication::sendEvent(m_window.get(), &press);
    for (int i = 0; i < 3; ++i) { // the key is held
        QKeyEvent release(QEvent::KeyRelease, key, Qt::NoModifier, QString(), true);
        QCoreApplication::sendEvent(m_window.get(), &release);
        QKeyEvent again(QEvent::KeyPress, key, Qt::NoModifier, QString(), true);
        QCoreApplication::sendEvent(m_window.get(), &again);
        expected += { "-again " + name, "+again " + name };
    }
    QKeyEvent release(QEvent::KeyRelease, key, Qt::NoModifier);
    QCoreApplication::sendEvent(m_window.get(), &release);
    QCOMPARE(m_window->keys, expected += "-" + name);
}

void tst_KeyGuard::enterAfterText_data()
{
    QTest::addColumn<int>("pause"); // between the text and Enter, as with a slow scanner
    QTest::newRow("of a scanner") << 0;
    QTest::newRow("of a slow scanner") << 500;
}

void tst_KeyGuard::enterAfterText()
{
    QFETCH(int, pause);
    QElapsedTimer sinceText;
    do { // repeated if this machine was too slow
        m_window->keys.clear();
        QKeyEvent text(QEvent::KeyPress, Qt::Key_7, Qt::NoModifier, "7");
        QCoreApplication::sendEvent(m_window.get(), &text);
        sinceText.start();
        QVERIFY(waitUntil([&]() { return sinceText.elapsed() >= pause; }));
        QTest::keyClick(m_window.get(), Qt::Key_Return);
    } while (sinceText.elapsed() >= 900);
    QVERIFY(arrives(Qt::Key_F9));
    QCOMPARE(m_window->keys, QStringList());
    QVERIFY(arrives(Qt::Key_Return)); // a later one arrives
}

void tst_KeyGuard::clockOfTheWindowSystemCounts_data()
{
    QTest::addColumn<int>("first");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("pause"); // until the program sees the next one
    QTest::newRow("letter") << int(Qt::Key_A) << "a" << 1100;
    QTest::newRow("function key") << int(Qt::Key_F2) << "" << 200;
}

// A busy program sees the keys of a burst late, one by one.
void tst_KeyGuard::clockOfTheWindowSystemCounts()
{
    QFETCH(int, first);
    QFETCH(QString, text);
    QFETCH(int, pause);
    QElapsedTimer clock;
    QKeyEvent press(QEvent::KeyPress, first, Qt::NoModifier, text);
    press.setTimestamp(50000);
    QCoreApplication::sendEvent(m_window.get(), &press);
    clock.start();
    while (clock.elapsed() < pause) {
        // busy
    }
    QKeyEvent enter(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, "\r");
    enter.setTimestamp(50010);
    QCoreApplication::sendEvent(m_window.get(), &enter);
    QVERIFY(arrives(Qt::Key_F9));
    QCOMPARE(m_window->keys, QStringList());
}

// The waiting time of a key ends while the program is busy. The rest of the burst is in the queue
// after it.
void tst_KeyGuard::delayedKeysArriveFirst()
{
    QKeyEvent press(QEvent::KeyPress, Qt::Key_F2, Qt::NoModifier);
    QCoreApplication::sendEvent(m_window.get(), &press);
    QTimer rest; // due after the key, in the same run of the event loop
    rest.setSingleShot(true);
    rest.setTimerType(Qt::PreciseTimer);
    QObject::connect(&rest, &QTimer::timeout, m_window.get(), [this]() { scan("PKD\r"); });
    rest.start(150);
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < 300) {
        // busy
    }
    QVERIFY(arrives(Qt::Key_F9));
    QCOMPARE(m_window->keys, QStringList());
}

// The error that closes a page moves the focus to a button that the user did not choose.
void tst_KeyGuard::movedFocusDropsTheKey()
{
    QKeyEvent press(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
    QCoreApplication::sendEvent(m_window.get(), &press);
    m_window->moveFocus();
    QVERIFY(arrives(Qt::Key_F9));
    QCOMPARE(m_window->keys, QStringList());
    QVERIFY(arrives(Qt::Key_Return));
}

void tst_KeyGuard::releaseWithoutPress()
{
    for (const int key : { Qt::Key_Return, Qt::Key_F2, Qt::Key_A, Qt::Key_Tab }) {
        QKeyEvent release(QEvent::KeyRelease, key, Qt::NoModifier);
        QCoreApplication::sendEvent(m_window.get(), &release);
    }
    QVERIFY(arrives(Qt::Key_F9));
    QCOMPARE(m_window->keys, QStringList());
}

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QTemporaryDir runtime; // avoids a warning of Qt
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtime.path()));
    QGuiApplication application(argc, argv);
    tst_KeyGuard test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_keyguard.moc"
