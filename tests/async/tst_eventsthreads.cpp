// SPDX-License-Identifier: MIT
#include "asyncdaemons.h"
#include "events.h"
#include "support/privatebus.h"

#include <QtCore/QEventLoop>
#include <QtCore/QScopedPointer>
#include <QtCore/QThread>

#include <memory>
#include <mutex>
#include <vector>

using namespace Expected;

namespace {

// A thread with an event loop, which ends with the object.
class LoopThread : public QThread
{
public:
    LoopThread() { start(); }
    ~LoopThread()
    {
        quit();
        wait();
    }
};

} // namespace

// Is moved from thread to thread together with its events, and records their numbers.
class Traveller : public QObject
{
    Q_OBJECT

public:
    Traveller(HNIPCEvents *events, const QList<QThread *> &threads, int every)
        : QObject(events), m_threads(threads), m_every(every), m_isInPlace(true)
    {
        connect(events, SIGNAL(M4Dac0(quint32)), SLOT(onNumber(quint32)), Qt::DirectConnection);
    }

    QList<quint32> numbers() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_numbers;
    }

    // True if each event was delivered on the thread that the object belonged to.
    bool isInPlace() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_isInPlace;
    }

    int threads() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return int(m_seen.size());
    }

private Q_SLOTS:
    void onNumber(const quint32 &number)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_numbers.append(number);
        QThread *const current = QThread::currentThread();
        m_isInPlace = m_isInPlace && current == thread() && current == parent()->thread();
        if (!m_seen.contains(current)) {
            m_seen.append(current);
        }
        if (m_numbers.size() % m_every == 0) {
            parent()->moveToThread(m_threads.at(m_numbers.size() / m_every % m_threads.size()));
        }
    }

private:
    mutable std::mutex m_mutex;
    const QList<QThread *> m_threads;
    const int m_every;
    QList<quint32> m_numbers;
    QList<QThread *> m_seen;
    bool m_isInPlace;
};

// Waits until all threads of a test have counted down "running", and joins them.
static bool joinWhileEventsFlow(std::vector<std::thread> *threads, const std::atomic<int> &running)
{
    const bool ended = waitUntil([&running]() { return running == 0; });
    for (std::thread &thread : *threads) {
        thread.join();
    }
    return ended;
}

// Events on threads other than the application's.
class tst_EventsThreads : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void movesWhileEventsFlow_data();
    void movesWhileEventsFlow();
    void waitsForAnEventLoop();
    void threadsEndWhileEventsFlow();
    void createdAndDestroyedWhileEventsFlow();

private:
    AsyncDaemons m_daemons;
};

void tst_EventsThreads::movesWhileEventsFlow_data()
{
    QTest::addColumn<int>("every");
    QTest::newRow("with each event") << 1;
    QTest::newRow("now and then") << 7;
}

void tst_EventsThreads::movesWhileEventsFlow()
{
    QFETCH(int, every);
    QScopedPointer<HNIPCEvents> events(new HNIPCEvents);
    QVERIFY(waitUntilListening(*events));
    quint32 sent = 0;
    {
        LoopThread first;
        LoopThread second;
        LoopThread third;
        Traveller *const traveller = new Traveller(
            events.data(), QList<QThread *>() << &first << &second << thread() << &third, every);
        NumberSender sender(&m_daemons[M4]);
        QVERIFY(waitUntil([&]() { return sender.begun() > 2000; }));
        sent = sender.stop();
        QVERIFY(waitUntil([&]() { return traveller->numbers().endsWith(sent); }));
        QCOMPARE(traveller->threads(), 4);
        QVERIFY(traveller->isInPlace());
        const QList<quint32> numbers = traveller->numbers();
        for (int i = 0; i < numbers.size(); ++i) {
            QCOMPARE(numbers.at(i), quint32(i + 1));
        }
    }
    // The object may belong to a thread that has ended.
    events.reset();
}

void tst_EventsThreads::waitsForAnEventLoop()
{
    HNIPCEvents reference;
    NumberCollector collector(&reference);
    QVERIFY(waitUntilListening(reference));
    QScopedPointer<HNIPCEvents> events(new HNIPCEvents);
    QVERIFY(waitUntilListening(*events));
    Traveller *const traveller = new Traveller(events.data(), QList<QThread *>() << thread(), 1000);
    QThread later;
    events->moveToThread(&later);
    for (quint32 i = 1; i <= 50; ++i) {
        QVERIFY(emitNumber(&m_daemons[M4], i));
    }
    QVERIFY(waitUntil([&]() { return collector.last() == 50; }));
    QVERIFY(passBusThread());
    QVERIFY(traveller->numbers().isEmpty());
    later.start();
    QVERIFY(waitUntil([&]() { return traveller->numbers().endsWith(50); }));
    later.quit();
    QVERIFY(later.wait());
    QCOMPARE(int(traveller->numbers().size()), 50);
    QVERIFY(traveller->isInPlace());
}

void tst_EventsThreads::threadsEndWhileEventsFlow()
{
    QScopedPointer<HNIPCEvents> staying(new HNIPCEvents);
    NumberCollector collector(staying.data());
    QVERIFY(waitUntilListening(*staying));
    NumberSender sender(&m_daemons[M4]);
    std::atomic<int> running(0);
    for (int i = 0; i < 30; ++i) {
        std::unique_ptr<HNIPCEvents> leftBehind;
        std::vector<std::thread> threads;
        for (int j = 0; j < 3; ++j) {
            ++running;
            threads.emplace_back([&leftBehind, &running, j]() {
                HNIPCEvents local;
                std::unique_ptr<HNIPCEvents> other(new HNIPCEvents);
                if (j == 0) {
                    leftBehind = std::move(other);
                } else if (j == 1) {
                    QEventLoop loop;
                    while (!local.isListening()) {
                        loop.processEvents(QEventLoop::WaitForMoreEvents);
                    }
                }
                --running;
            });
        }
        QVERIFY(joinWhileEventsFlow(&threads, running));
    }
    const quint32 sent = sender.stop();
    QVERIFY(waitUntil([&]() { return collector.last() == sent; }));
    QVERIFY(collector.areCompleteAfter(0));
}

void tst_EventsThreads::createdAndDestroyedWhileEventsFlow()
{
    makeRequestsLeave(); // messages that earlier objects caused
    WireMonitor monitor;
    {
        HNIPCEvents staying;
        NumberCollector collector(&staying);
        QVERIFY(waitUntilListening(staying));
        NumberSender sender(&m_daemons[M4]);
        std::atomic<int> running(4);
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&running]() {
                for (int j = 0; j < 250; ++j) {
                    delete new HNIPCEvents;
                }
                --running;
            });
        }
        for (int i = 0; i < 1000; ++i) {
            HNIPCEvents events;
            if (i % 10 == 0) {
                QCoreApplication::processEvents();
            }
        }
        QVERIFY(joinWhileEventsFlow(&threads, running));
        const quint32 sent = sender.stop();
        QVERIFY(waitUntil([&]() { return collector.last() == sent; }));
        QVERIFY(collector.areCompleteAfter(0));
    }
    NumberSender sender(&m_daemons[M4]);
    for (int i = 0; i < 1000; ++i) { // each is the last HNIPCEvents of the process
        delete new HNIPCEvents;
    }
    sender.stop();
    makeRequestsLeave();
    int subscriptions = 0;
    int unsubscriptions = 0;
    const QList<WireMessage> messages = monitor.take();
    for (const WireMessage &message : messages) {
        if (message.body.contains("interface='local.IHNIPCM4'")) {
            subscriptions += message.member == "AddMatch";
            unsubscriptions += message.member == "RemoveMatch";
        }
    }
    QVERIFY(subscriptions > 0);
    QCOMPARE(unsubscriptions, subscriptions);
}

HNIPC_TEST_MAIN(tst_EventsThreads)

#include "tst_eventsthreads.moc"
