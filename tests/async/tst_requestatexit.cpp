// SPDX-License-Identifier: MIT
#include "requests.h"
#include "support/fakedaemons.h"
#include "support/privatebus.h"

#include <hnipc/hnipcavailability.h>
#include <hnipc/hnipcrequest.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

using namespace Expected;

namespace {

const int inFlight = 120; // most of them wait for their turn

// A number of requests in flight, to which no daemon replies.
struct Requests
{
    bool send()
    {
        for (HNIPCRequest &request : requests) {
            request.setCall(HNIPC_METHOD(getAlert));
            if (!request.send()) {
                return false;
            }
        }
        return true;
    }

    bool allArePending() const
    {
        for (const HNIPCRequest &request : requests) {
            if (!request.isPending()) {
                return false;
            }
        }
        return true;
    }

    HNIPCRequest requests[inFlight];
};

// Destroyed after the application and Qt's own static objects.
std::unique_ptr<Requests> staticRequests;
std::unique_ptr<HNIPCAvailability> staticAvailability;

// The program that ends in the way of this name. It prints how many requests were in flight.
int end(const QByteArray &way, int argc, char **argv)
{
    std::unique_ptr<QCoreApplication> application(new QCoreApplication(argc, argv));
    // Sent after the others, to another daemon. When that daemon replies, the others have reached
    // theirs.
    HNIPCRequest answered;
    answered.setCall(HNIPC_METHOD(supplySupplyPercent));
    std::unique_ptr<Requests> requests(new Requests);
    std::unique_ptr<HNIPCAvailability> availability(new HNIPCAvailability);
    if (way == "answers under way") {
        for (HNIPCRequest &request : requests->requests) {
            request.setCall(HNIPC_METHOD(getError));
            request.send();
        }
        std::printf("%d\n", inFlight);
        return 0;
    }
    if (way == "cancelled" || way == "deleted") {
        requests->send();
        answered.send();
        waitUntilFinished(answered);
        for (HNIPCRequest &request : requests->requests) {
            request.cancel();
        }
        if (way == "deleted") {
            requests.reset();
        }
        std::printf("%d\n", answered.outcome() == HNIPCRequest::Answered ? inFlight : -1);
        return 0;
    }

    requests->send();
    answered.send();
    waitUntilFinished(answered);
    waitUntil([&availability]() { return availability->isKnown(); });
    const bool isPending = requests->allArePending();
    std::printf("%d\n", isPending && answered.outcome() == HNIPCRequest::Answered ? inFlight : -1);
    std::fflush(stdout);
    if (way == "requests after application") {
        application.reset();
    } else if (way == "cancelled after application") {
        application.reset();
        for (HNIPCRequest &request : requests->requests) {
            request.cancel();
            if (request.isPending() || request.outcome() == HNIPCRequest::Answered) {
                return 2;
            }
        }
    } else if (way == "static") {
        staticRequests.swap(requests);
        staticAvailability.swap(availability);
    } else if (way == "leaked") {
        requests.release();
        availability.release();
    } else if (way == "exit") {
        std::exit(0); // does not destroy objects on the stack
    } else if (way == "children") {
        for (HNIPCRequest &request : requests->requests) {
            (new HNIPCRequest(application.get()))->setCall(HNIPC_METHOD(getAlert));
            request.setParent(0);
        }
        const QList<HNIPCRequest *> children = application->findChildren<HNIPCRequest *>();
        for (HNIPCRequest *const child : children) {
            child->send();
        }
    }
    return 0;
}

} // namespace

// A program may end at any time.
class tst_RequestAtExit : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void programEndsWithoutAFault_data();
    void programEndsWithoutAFault();
};

void tst_RequestAtExit::programEndsWithoutAFault_data()
{
    QTest::addColumn<QByteArray>("way");
    // clang-format off
    const char *const ways[] = { "application after requests", "requests after application",
                                 "cancelled after application", "static", "exit", "children",
                                 "cancelled", "deleted", "answers under way" };
    // clang-format on
    for (const char *const way : ways) {
        QTest::newRow(way) << QByteArray(way);
    }
}

void tst_RequestAtExit::programEndsWithoutAFault()
{
    QFETCH(QByteArray, way);
    FakeDaemons daemons;
    daemons[M4].hold("getAlert");
    daemons[M4].answer("getError", "(7,)");
    daemons[SUPPLYD].answer("supplySupplyPercent", "(12.5,)");
    Process program;
    // Makes the GNU allocator notice a write to freed memory.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QLatin1String("GLIBC_TUNABLES"),
                       QLatin1String("glibc.malloc.tcache_count=0:glibc.malloc.mxfast=0"));
    program.setProcessEnvironment(environment);
    program.start(QCoreApplication::applicationFilePath(),
                  QStringList() << QLatin1String("--end") << QString::fromLatin1(way));
    QVERIFY2(program.exitCode() == 0, program.errors().constData());
    QCOMPARE(program.output(), QByteArray::number(inFlight) + '\n');
}

int main(int argc, char **argv)
{
    if (argc == 3 && QByteArray(argv[1]) == "--end") {
        return end(argv[2], argc, argv);
    }
    PrivateBus bus;
    QCoreApplication application(argc, argv);
    tst_RequestAtExit test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_requestatexit.moc"
