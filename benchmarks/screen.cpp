// SPDX-License-Identifier: MIT
//
// hnipc-bench-screen: the time to read 30 values with readings and with requests, compared with
// blocking calls and Qt's pending calls of the same methods; and how long a screen is blocked that
// starts while a daemon hangs.

#include "daemons.h"
#include "readings.h"
#include "samples.h"

#include "expected/identities.h"

#include <hnipc/hnipc.h>
#include <hnipc/hnipcavailability.h>
#include <hnipc/hnipcevents.h>
#include <hnipc/hnipcrequest.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QEventLoop>
#include <QtCore/QScopedPointer>
#include <QtCore/QTimer>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusPendingCallWatcher>

#include <csignal>

static const int turns = 200;

// ---- Thirty values -------------------------------------------------------------------------

struct Value
{
    Expected::Server daemon;
    const char *method;
    const char *signal;
    void (*block)(HNIPC *printer);
};

#define VALUE(daemon, method, signal)                                                              \
    {                                                                                              \
        Expected::daemon, #method, signal, [](HNIPC *printer) { printer->method(); }               \
    }

static const Value values[] = {
    VALUE(M4, getError, "Error"),
    VALUE(M4, getAlert, "Alert"),
    VALUE(M4, getBatteryStatus, "M4BatteryUpdate"),
    VALUE(M4, m4Version, "M4Version"),
    VALUE(M4, dac0, "M4Dac0"),
    VALUE(M4, bMark, "M4BMark"),
    VALUE(M4, gap, "M4Gap"),
    VALUE(M4, preCutter, "M4PreCutter"),
    VALUE(M4, ribbonClr1, "M4RibbonClr1"),
    VALUE(M4, ribbonClr2, "M4RibbonClr2"),
    VALUE(M4, ribbonEnc1, "M4RibbonEnc1"),
    VALUE(M4, ribbonEnc2, "M4RibbonEnc2"),
    VALUE(M4, ribbonEnc3, "M4RibbonEnc3"),
    VALUE(M4, ribbonEnc4, "M4RibbonEnc4"),
    VALUE(M4, cutterCover, "M4CutterCover"),
    VALUE(M4, cutterHome, "M4CutterHome"),
    VALUE(M4, printerLid, "M4PrinterLid"),
    VALUE(M4, supplySensor, "M4SupplySensor"),
    VALUE(M4, supplyLatch, "M4SupplyLatch"),
    VALUE(M4, ribbon1Verify, "M4RibbonVerify1"),
    VALUE(M4, ribbon2Verify, "M4RibbonVerify2"),
    VALUE(M4, ribbon1Mileage, "M4Ribbon1Mileage"),
    VALUE(M4, ribbon2Mileage, "M4Ribbon2Mileage"),
    VALUE(M4, supplyMileage, "M4SupplyMileage"),
    VALUE(SUPPLYD, supplySupplyPercent, "SupplyPercentChanged"),
    VALUE(SUPPLYD, supplyRibbon1Percent, "Ribbon1PercentChanged"),
    VALUE(SUPPLYD, supplyRibbon2Percent, "Ribbon2PercentChanged"),
    VALUE(SUPPLYD, supplySupplyUID, "M4SupplyUID"),
    VALUE(SUPPLYD, supplyRibbon1UID, "M4Ribbon1UID"),
    VALUE(SUPPLYD, supplyRibbon2UID, "M4Ribbon2UID"),
};

static void block(HNIPC *printer)
{
    for (const Value &value : values) {
        value.block(printer);
    }
}

// Many calls in flight, each with its own object.
class Calls : public QObject
{
    Q_OBJECT

public:
    void request()
    {
        for (const Value &value : values) {
            HNIPCRequest *request = new HNIPCRequest(this);
            request->setMethod(QLatin1String(value.method));
            connect(request, SIGNAL(finished()), SLOT(onRequest()));
            request->send();
        }
        wait();
    }

    // The same with Qt alone.
    void callByQt()
    {
        for (const Value &value : values) {
            const Expected::Identity &daemon = Expected::identities[value.daemon];
            const QDBusMessage message = QDBusMessage::createMethodCall(
                QLatin1String(daemon.busName), QLatin1String("/"), QLatin1String(daemon.interface),
                QLatin1String(value.method));
            QDBusPendingCallWatcher *watcher = new QDBusPendingCallWatcher(
                QDBusConnection::systemBus().asyncCall(message), this);
            connect(watcher, SIGNAL(finished(QDBusPendingCallWatcher *)),
                    SLOT(onReply(QDBusPendingCallWatcher *)));
        }
        wait();
    }

private Q_SLOTS:
    void onRequest()
    {
        HNIPCRequest *request = static_cast<HNIPCRequest *>(sender());
        if (request->outcome() != HNIPCRequest::Answered) {
            qFatal("%s", qPrintable(request->errorText()));
        }
        request->deleteLater();
        onFinished();
    }

    void onReply(QDBusPendingCallWatcher *watcher)
    {
        if (watcher->isError()) {
            qFatal("%s", qPrintable(watcher->error().message()));
        }
        watcher->deleteLater();
        onFinished();
    }

private:
    void wait()
    {
        m_left = int(sizeof values / sizeof values[0]);
        m_loop.exec();
    }

    void onFinished()
    {
        if (--m_left == 0) {
            m_loop.quit();
        }
    }

    QEventLoop m_loop;
    int m_left;
};

static void compareScreens(const QByteArray &program, HNIPC *printer)
{
    Calls calls;
    QScopedPointer<Readings> readings;
    const auto read = [&readings] {
        readings.reset(new Readings);
        for (const Value &value : values) {
            readings->add(value.method, QStringList(QLatin1String(value.signal)));
        }
        readings->waitUntilKnown();
    };
    // The reply to this request shows that the library's thread has removed the readings, too.
    const auto forget = [&readings] {
        readings.reset();
        QEventLoop loop;
        HNIPCRequest request;
        request.setMethod(QLatin1String("printerLid"));
        loop.connect(&request, SIGNAL(finished()), SLOT(quit()));
        request.send();
        loop.exec();
    };
    compare("30 values for " + program, turns, 1,
            { { "HNIPCReading", read, 1, forget },
              { "blocking calls", [printer] { block(printer); } },
              { "QDBusPendingCall", [&calls] { calls.callByQt(); } } });
}

static void compareRequests()
{
    Calls calls;
    compare("30 requests at once", turns, 1,
            { { "HNIPCRequest", [&calls] { calls.request(); } },
              { "QDBusPendingCall", [&calls] { calls.callByQt(); } } });
}

// ---- A daemon that hangs -------------------------------------------------------------------

// A program with a 16 ms timer that starts its objects of the library. It prints the longest gap
// between two timeouts, from the start until 30 timeouts after the start is complete.
class Start : public QObject
{
    Q_OBJECT

public:
    explicit Start(const QByteArray &kind)
        : m_kind(kind), m_beats(0), m_beatsAfterwards(0), m_longest(0)
    {
#if QT_VERSION >= 0x050000
        m_beat.setTimerType(Qt::PreciseTimer);
#endif
        connect(&m_beat, SIGNAL(timeout()), SLOT(onBeat()));
        m_clock.start();
        m_beat.start(16);
    }

private Q_SLOTS:
    void onBeat()
    {
        ++m_beats;
        if (m_beats > beatsBefore) {
            m_longest = qMax(m_longest, m_clock.nsecsElapsed());
        }
        m_clock.start();
        if (m_beats == beatsBefore) {
            start();
        } else if (m_beats > beatsBefore && isComplete() && ++m_beatsAfterwards == 30) {
            std::printf("%.3f\n", double(m_longest) / 1e6);
            QCoreApplication::quit();
        }
    }

private:
    static const int beatsBefore = 20;

    void start()
    {
        if (m_kind == "HNIPC") {
            m_printer.reset(new HNIPC);
        }
        if (m_kind != "HNIPCEvents") {
            return;
        }
        m_availability.reset(new HNIPCAvailability);
        m_events.reset(new HNIPCEvents);
        m_supply.reset(new Readings);
        for (const char *name : { "qmlSupplyPercent", "qmlSupplyColorRGB", "qmlRibbonPercent",
                                  "qmlRibbonColorRGBs", "qmlSupplySKU" }) {
            m_supply->add(name);
        }
        m_printEngine.reset(new Readings);
        for (const char *name :
             { "qmlPrintEngineErrorCode", "qmlPrintEngineAlertCode", "qmlBatteryStatus" }) {
            m_printEngine->add(name);
        }
        m_request.reset(new HNIPCRequest);
        m_request->setMethod(QLatin1String("printerLid"));
        m_request->setDeadline(1000);
        m_request->send();
    }

    // Calls to the daemon that hangs only end by their deadline.
    bool isComplete() const
    {
        if (m_kind != "HNIPCEvents") {
            return true;
        }
        return m_availability->isKnown() && m_events->isListening() && m_supply->areKnown()
            && m_request->reason() == HNIPCRequest::TimedOut;
    }

    const QByteArray m_kind;
    QTimer m_beat;
    QElapsedTimer m_clock;
    int m_beats;
    int m_beatsAfterwards;
    qint64 m_longest;

    QScopedPointer<HNIPC> m_printer;
    QScopedPointer<HNIPCAvailability> m_availability;
    QScopedPointer<HNIPCEvents> m_events;
    QScopedPointer<Readings> m_supply;
    QScopedPointer<Readings> m_printEngine;
    QScopedPointer<HNIPCRequest> m_request;
};

static void measureStart(const QByteArray &kind, const char *name, int turn)
{
    MortalProcess process;
    process.forwardErrors();
    process.start(QCoreApplication::applicationFilePath(),
                  QStringList() << QLatin1String("--start") << QString::fromLatin1(kind));
    printSample("a start while a daemon hangs, longest gap of a 16 ms timer", name, turn,
                lineOf(&process).toDouble(), "ms");
    process.waitForFinished();
}

static void compareStarts(pid_t daemon)
{
    kill(daemon, SIGSTOP);
    for (int turn = 0; turn < 20; ++turn) {
        measureStart("HNIPCEvents", "HNIPCEvents, readings and a request", turn);
        measureStart("nothing", "without objects of the library", turn);
        if (turn < 2) { // it takes 25 seconds
            measureStart("HNIPC", "HNIPC", turn);
        }
    }
    kill(daemon, SIGCONT);
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    if (arguments.value(1) == QLatin1String("--start")) {
        Start start(arguments.value(2).toLatin1());
        return application.exec();
    }

    const DaemonProcess ioexpd(HNIPC_BENCH_IOEXPD, "org.hnipc.ioexpd");
    const DaemonProcess m4(HNIPC_BENCH_M4, "org.hnipc.m4");
    const DaemonProcess supplyd(HNIPC_BENCH_SUPPLYD, "org.hnipc.supplyd");
    {
        HNIPC printer;
        compareScreens("a screen that is alone", &printer);
        HNIPCEvents events;
        compareScreens("a screen beside HNIPCEvents", &printer);
        compareRequests();
    }
    compareStarts(m4.id());
    return 0;
}

#include "screen.moc"
