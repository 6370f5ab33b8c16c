// SPDX-License-Identifier: MIT
//
// hnipc-bench-request: what a request in flight costs beside a blocking call of the same method, and
// whether a screen keeps its beat while one is pending. Everything is asked of one daemon in the
// same run, in turns, so that what disturbs the machine disturbs all alike.

#include <hnipc/hnipc.h>
#include <hnipc/hnipcrequest.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QEventLoop>
#include <QtCore/QProcess>
#include <QtCore/QTimer>
#include <QtCore/QVector>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusConnectionInterface>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusPendingCallWatcher>

#include <algorithm>
#include <csignal>
#include <cstdio>

static const int callsOfATurn = 500;
static const int turns = 60;

// Keeps so many calls in flight until all are answered.
class Load : public QObject
{
    Q_OBJECT

public:
    double microsecondsPerCall(int inFlight)
    {
        m_toSend = callsOfATurn;
        m_toFinish = callsOfATurn;
        QElapsedTimer clock;
        clock.start();
        for (int i = 0; i < inFlight; ++i)
            start(i);
        m_loop.exec();
        return double(clock.nsecsElapsed()) / 1000 / callsOfATurn;
    }

protected:
    virtual void start(int index) = 0;

    bool takeOne() { return m_toSend-- > 0; }

    void onFinished(int index)
    {
        if (--m_toFinish == 0)
            m_loop.quit();
        else
            start(index);
    }

private:
    QEventLoop m_loop;
    int m_toSend;
    int m_toFinish;
};

class RequestLoad : public Load
{
    Q_OBJECT

public:
    RequestLoad()
    {
        for (int i = 0; i < 10; ++i) {
            HNIPCRequest *request = new HNIPCRequest(this);
            request->setMethod(QLatin1String("printerLid"));
            connect(request, SIGNAL(finished()), SLOT(onRequest()));
            m_requests.append(request);
        }
    }

protected:
    virtual void start(int index)
    {
        if (takeOne())
            m_requests.at(index)->send();
    }

private Q_SLOTS:
    void onRequest()
    {
        HNIPCRequest *request = static_cast<HNIPCRequest *>(sender());
        if (request->outcome() != HNIPCRequest::Answered)
            qFatal("%s", qPrintable(request->errorText()));
        onFinished(int(m_requests.indexOf(request)));
    }

private:
    QVector<HNIPCRequest *> m_requests;
};

// The same by means of Qt alone.
class RawLoad : public Load
{
    Q_OBJECT

protected:
    virtual void start(int)
    {
        if (!takeOne())
            return;
        const QDBusMessage message = QDBusMessage::createMethodCall(
            QLatin1String("org.hnipc.m4"), QLatin1String("/"), QLatin1String("local.IHNIPCM4"),
            QLatin1String("printerLid"));
        QDBusPendingCallWatcher *watcher
            = new QDBusPendingCallWatcher(QDBusConnection::systemBus().asyncCall(message));
        connect(watcher, SIGNAL(finished(QDBusPendingCallWatcher*)),
                SLOT(onReply(QDBusPendingCallWatcher*)));
    }

private Q_SLOTS:
    void onReply(QDBusPendingCallWatcher *watcher)
    {
        if (watcher->isError())
            qFatal("%s", qPrintable(watcher->error().message()));
        watcher->deleteLater();
        onFinished(0);
    }
};

static double blocking(HNIPC *printer)
{
    QElapsedTimer clock;
    clock.start();
    for (int i = 0; i < callsOfATurn; ++i)
        printer->printerLid();
    return double(clock.nsecsElapsed()) / 1000 / callsOfATurn;
}

static double quantile(QVector<double> values, double share)
{
    std::sort(values.begin(), values.end());
    return values.at(int(share * (values.size() - 1)));
}

static void printRow(const char *name, const QVector<double> &times, const QVector<double> &base)
{
    QVector<double> ratios;
    for (int i = 0; i < times.size(); ++i)
        ratios.append(times.at(i) / base.at(i));
    std::printf("%-34s %7.1f us   %5.3f  (%5.3f to %5.3f)\n", name, quantile(times, 0.5),
                quantile(ratios, 0.5), quantile(ratios, 0.25), quantile(ratios, 0.75));
}

static void compareCosts()
{
    HNIPC printer;
    RequestLoad requests;
    RawLoad raw;
    QVector<double> blockingCalls, oneRequest, oneRaw, tenRequests, tenRaw;
    for (int turn = -1; turn < turns; ++turn) {
        const double times[] = { blocking(&printer), requests.microsecondsPerCall(1),
                                 raw.microsecondsPerCall(1), requests.microsecondsPerCall(10),
                                 raw.microsecondsPerCall(10) };
        if (turn < 0) // the first is for the caches
            continue;
        blockingCalls.append(times[0]);
        oneRequest.append(times[1]);
        oneRaw.append(times[2]);
        tenRequests.append(times[3]);
        tenRaw.append(times[4]);
    }
    std::printf("%d turns of %d calls; per call the median, and its ratio to a blocking call of "
                "the\nsame turn (quartiles)\n", turns, callsOfATurn);
    printRow("blocking call", blockingCalls, blockingCalls);
    printRow("request, one at a time", oneRequest, blockingCalls);
    printRow("QDBusPendingCall, one at a time", oneRaw, blockingCalls);
    printRow("request, ten in flight", tenRequests, blockingCalls);
    printRow("QDBusPendingCall, ten in flight", tenRaw, blockingCalls);
}

// A 16 ms timer in the thread of a request that the daemon keeps waiting for five seconds.
class Screen : public QObject
{
    Q_OBJECT

public:
    explicit Screen(qint64 daemon) : m_daemon(daemon)
    {
#if QT_VERSION >= 0x050000
        m_beat.setTimerType(Qt::PreciseTimer);
#endif
        m_beat.setInterval(16);
        connect(&m_beat, SIGNAL(timeout()), SLOT(onBeat()));
    }

    void show()
    {
        kill(pid_t(m_daemon), SIGSTOP);
        QTimer::singleShot(5000, this, SLOT(wakeDaemon()));
        HNIPCRequest request;
        request.setMethod(QLatin1String("calibrateSupply"));
        QEventLoop loop;
        connect(&request, SIGNAL(finished()), &loop, SLOT(quit()));
        request.send();
        m_clock.start();
        m_beat.start();
        loop.exec();
        if (request.outcome() != HNIPCRequest::Answered)
            qFatal("%s", qPrintable(request.errorText()));
        std::printf("\na 16 ms timer while a call is pending for %d ms: %d beats, the longest gap "
                    "%.1f ms,\nthe median %.1f ms\n", request.elapsed(), int(m_gaps.size()),
                    quantile(m_gaps, 1), quantile(m_gaps, 0.5));
    }

private Q_SLOTS:
    void onBeat()
    {
        m_gaps.append(double(m_clock.nsecsElapsed()) / 1e6);
        m_clock.start();
    }

    void wakeDaemon() { kill(pid_t(m_daemon), SIGCONT); }

private:
    qint64 m_daemon;
    QTimer m_beat;
    QElapsedTimer m_clock;
    QVector<double> m_gaps;
};

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QProcess daemon;
    daemon.start(QLatin1String(HNIPC_BENCH_DAEMON), QStringList());
    if (!daemon.waitForStarted())
        qFatal("no %s", HNIPC_BENCH_DAEMON);
    const QString name = QLatin1String("org.hnipc.m4");
    while (!QDBusConnection::systemBus().interface()->isServiceRegistered(name).value()) {
        if (daemon.waitForFinished(10))
            qFatal("%s has ended", HNIPC_BENCH_DAEMON);
    }
    compareCosts();
    const QDBusReply<uint> process = QDBusConnection::systemBus().interface()->servicePid(name);
    Screen(process.value()).show();
    daemon.terminate();
    daemon.waitForFinished();
    return 0;
}

#include "request.moc"
