// SPDX-License-Identifier: MIT
//
// hnipc-bench-request: the time of a request compared with a blocking call of the same method, and
// the gaps of a screen's timer while a request is pending. All calls go to one daemon in the same
// run, in turns, so that other load on the machine affects all alike.

#include "daemons.h"
#include "samples.h"

#include <hnipc/hnipc.h>
#include <hnipc/hnipcrequest.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QEventLoop>
#include <QtCore/QTimer>
#include <QtCore/QVector>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusPendingCallWatcher>

#include <csignal>

static const int callsOfATurn = 500;
static const int turns = 60;

// Keeps inFlight calls in flight until all calls have a reply.
class Load : public QObject
{
    Q_OBJECT

public:
    void run(int inFlight)
    {
        m_toSend = callsOfATurn;
        m_toFinish = callsOfATurn;
        for (int i = 0; i < inFlight; ++i) {
            start(i);
        }
        m_loop.exec();
    }

protected:
    virtual void start(int index) = 0;

    bool takeOne() { return m_toSend-- > 0; }

    void onFinished(int index)
    {
        if (--m_toFinish == 0) {
            m_loop.quit();
        } else {
            start(index);
        }
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
        if (takeOne()) {
            m_requests.at(index)->send();
        }
    }

private Q_SLOTS:
    void onRequest()
    {
        HNIPCRequest *request = static_cast<HNIPCRequest *>(sender());
        if (request->outcome() != HNIPCRequest::Answered) {
            qFatal("%s", qPrintable(request->errorText()));
        }
        onFinished(int(m_requests.indexOf(request)));
    }

private:
    QVector<HNIPCRequest *> m_requests;
};

// The same with Qt alone.
class RawLoad : public Load
{
    Q_OBJECT

protected:
    virtual void start(int)
    {
        if (!takeOne()) {
            return;
        }
        const QDBusMessage message = QDBusMessage::createMethodCall(
            QLatin1String("org.hnipc.m4"), QLatin1String("/"), QLatin1String("local.IHNIPCM4"),
            QLatin1String("printerLid"));
        QDBusPendingCallWatcher *watcher = new QDBusPendingCallWatcher(
            QDBusConnection::systemBus().asyncCall(message));
        connect(watcher, SIGNAL(finished(QDBusPendingCallWatcher *)),
                SLOT(onReply(QDBusPendingCallWatcher *)));
    }

private Q_SLOTS:
    void onReply(QDBusPendingCallWatcher *watcher)
    {
        if (watcher->isError()) {
            qFatal("%s", qPrintable(watcher->error().message()));
        }
        watcher->deleteLater();
        onFinished(0);
    }
};

static void compareCosts()
{
    HNIPC printer;
    RequestLoad requests;
    RawLoad raw;
    const auto blocking = [&printer] {
        for (int i = 0; i < callsOfATurn; ++i) {
            printer.printerLid();
        }
    };
    compare("one request at a time", turns, 1,
            { { "blocking call", blocking, callsOfATurn },
              { "QDBusPendingCall", [&raw] { raw.run(1); }, callsOfATurn },
              { "HNIPCRequest", [&requests] { requests.run(1); }, callsOfATurn } });
    compare("ten requests in flight", turns, 1,
            { { "blocking call", blocking, callsOfATurn },
              { "QDBusPendingCall", [&raw] { raw.run(10); }, callsOfATurn },
              { "HNIPCRequest", [&requests] { requests.run(10); }, callsOfATurn } });
}

// A 16 ms timer in the thread of a request to which the daemon replies after five seconds.
class Screen : public QObject
{
    Q_OBJECT

public:
    explicit Screen(qint64 daemon) : m_daemon(daemon), m_beats(0)
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
        if (request.outcome() != HNIPCRequest::Answered) {
            qFatal("%s", qPrintable(request.errorText()));
        }
    }

private Q_SLOTS:
    void onBeat()
    {
        printSample("16 ms timer while a call is pending for five seconds", "gap", m_beats++,
                    double(m_clock.nsecsElapsed()) / 1000, "us");
        m_clock.start();
    }

    void wakeDaemon() { kill(pid_t(m_daemon), SIGCONT); }

private:
    qint64 m_daemon;
    QTimer m_beat;
    QElapsedTimer m_clock;
    int m_beats;
};

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const DaemonProcess daemon(HNIPC_BENCH_M4, "org.hnipc.m4");
    compareCosts();
    Screen(daemon.id()).show();
    return 0;
}

#include "request.moc"
