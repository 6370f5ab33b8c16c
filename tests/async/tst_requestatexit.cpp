// SPDX-License-Identifier: MIT
#include "requests.h"
#include "support/fakedaemons.h"
#include "support/privatebus.h"
#include "threads.h"

#include <hnipc/hnipcavailability.h>
#include <hnipc/hnipcrequest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include <unistd.h>

using namespace Expected;

namespace {

const int inFlight = 120; // most of them wait for their turn

typedef std::vector<std::unique_ptr<HNIPCRequest>> Requests;

// Requests in flight for this method of the print engine.
Requests sentRequests(const char *method)
{
    Requests result(inFlight);
    for (auto &request : result) {
        request.reset(new HNIPCRequest);
        request->setMethod(QLatin1String(method));
        request->send();
    }
    return result;
}

// Destroyed after the library has ended its thread. The kernel lists a thread a moment longer.
struct ThreadCheck
{
    ~ThreadCheck()
    {
        for (int i = 0; threadCount("hnipc") != 0; ++i) {
            if (i == HNIPC_TEST_PATIENCE) {
                std::fputs("the library's thread is running\n", stderr);
                std::_Exit(3);
            }
            usleep(1000);
        }
    }
} threadCheck;

// Destroyed after the application and Qt's own static objects.
Requests staticRequests;
std::unique_ptr<HNIPCAvailability> staticAvailability;

// Whether Qt has registered the types of D-Bus. Its own thread registers them when it connects, if
// nobody has done so before: in a program that ends meanwhile, it crashes. Qt 4 has no such thread.
bool areTypesRegistered()
{
#if QT_VERSION < 0x050000
    return true;
#elif QT_VERSION < 0x060000
    return QMetaType::type("QList<QDBusObjectPath>") != QMetaType::UnknownType;
#else
    return QMetaType::fromName("QList<QDBusObjectPath>").isValid();
#endif
}

// The program that ends in the way of this name. It prints how many requests were in flight.
int end(const QByteArray &way, int argc, char **argv)
{
    std::unique_ptr<QCoreApplication> application(new QCoreApplication(argc, argv));
    std::unique_ptr<HNIPCAvailability> availability(new HNIPCAvailability);
    if (!areTypesRegistered()) {
        return 4;
    }
    if (way == "answers under way") {
        const Requests requests = sentRequests("supplyInformation");
        std::printf("%d\n", inFlight);
        return 0;
    }

    Requests requests = sentRequests("getAlert");
    // Sent after the others, to another daemon. When that daemon replies, the others have reached
    // theirs.
    HNIPCRequest answered;
    answered.setCall(HNIPC_METHOD(supplySupplyPercent));
    answered.send();
    waitUntilFinished(answered);
    waitUntil([&]() { return availability->isKnown(); });
    const bool arePending = std::all_of(
        requests.begin(), requests.end(),
        [](const std::unique_ptr<HNIPCRequest> &request) { return request->isPending(); });
    std::printf("%d\n", arePending && answered.outcome() == HNIPCRequest::Answered ? inFlight : -1);
    std::fflush(stdout);

    if (way.endsWith("after application")) {
        application.reset();
    }
    if (way.startsWith("cancelled") || way == "deleted") {
        for (const auto &request : requests) {
            request->cancel();
            if (request->isPending() || request->outcome() == HNIPCRequest::Answered) {
                return 2;
            }
        }
    }
    if (way == "deleted") {
        requests.clear();
    } else if (way == "static") {
        staticRequests.swap(requests);
        staticAvailability.swap(availability);
    } else if (way == "exit") {
        std::exit(0); // does not destroy objects on the stack
    } else if (way == "children") {
        for (int i = 0; i < inFlight; ++i) {
            HNIPCRequest *const child = new HNIPCRequest(application.get());
            child->setCall(HNIPC_METHOD(getAlert));
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
    daemons[SUPPLYD].answer("supplyInformation", "((7, 8),)");
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
    // Qt warns if its registry of types is destroyed before its connections.
    QVERIFY2(!program.errors().contains("type"), program.errors().constData());
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
