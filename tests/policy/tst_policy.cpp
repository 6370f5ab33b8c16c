// SPDX-License-Identifier: MIT
// Tests which users the installed policy allows to do what. Both bus implementations are tested,
// with processes of different users. Each user is played by a program without code of the library.

#include "machine.h"

#include "contract/interfaces.h"
#include "support/onbroker.h"
#include "support/qtmajors.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QMap>
#include <QtCore/QSharedPointer>
#include <QtTest/QTest>

#include <cstdio>

using namespace Expected;
using Machine::Bus;
using Machine::User;

namespace {

// The system's own rules, as in distributions: everything is denied, except for one service, whose
// name everybody may own and call.
const char closedRules
    [] = "<deny own='*'/><deny send_type='method_call'/>"
         "<allow send_destination='org.freedesktop.DBus' send_interface='org.freedesktop.DBus'/>"
         "<allow own='local.Clock'/><allow send_destination='local.Clock'/>";

// A file of another package allows everything by mistake.
const char openRules[] = "<allow own='*'/><allow send_type='method_call'/>";

QByteArray configuration(const char *rules, const QByteArray &policyFile,
                         const QByteArray &localFiles = QByteArray())
{
    return QByteArray("<!DOCTYPE busconfig PUBLIC "
                      "'-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN' "
                      "'http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd'>"
                      "<busconfig><type>system</type><listen>systemd:</listen>"
                      "<auth>EXTERNAL</auth><policy context='default'>"
                      "<allow user='*'/><allow send_type='signal'/>"
                      "<allow send_requested_reply='true' send_type='method_return'/>"
                      "<allow send_requested_reply='true' send_type='error'/>"
                      "<allow receive_type='method_call'/><allow receive_type='method_return'/>"
                      "<allow receive_type='error'/><allow receive_type='signal'/>")
        + rules + "</policy><include>" + policyFile + "</include>" + localFiles + "</busconfig>";
}

// The printers: one with the policy of the build, and others with other policies.
enum Site {
    Installed,
    OtherUsers,    // one user for all daemons, and another group
    SeparateUsers, // one for each daemon; events are private
    LocalFiles,    // the policy of the build, and both examples of local policy files
    SiteCount
};

struct Policy
{
    const char *name;
    const char *rules; // of the system
    QByteArray file;
    QByteArray localFiles;
    const char *users; // of the daemons
    const char *group;
    bool isPrivate;
};

const char localUsers[] = "hnipc-ioexpd|hnipc-m4|hnipc-supplyd";
const char localGroup[] = "hnipc";

QByteArray localFile(const char *name)
{
    return "<include>" HNIPC_TEST_LOCAL_POLICY_DIR "/" + QByteArray(name) + "</include>";
}

const Policy policies[SiteCount] = {
    { "installed", closedRules, HNIPC_POLICY_FILE, QByteArray(), HNIPC_DAEMON_USERS,
      HNIPC_CLIENT_GROUP, bool(HNIPC_PRIVATE_EVENTS) },
    { "other users, open bus", openRules, HNIPC_TEST_OTHER_POLICY_FILE, QByteArray(),
      HNIPC_TEST_OTHER_USER "|" HNIPC_TEST_OTHER_USER "|" HNIPC_TEST_OTHER_USER,
      HNIPC_TEST_OTHER_GROUP, false },
    { "a user for each daemon, private events", closedRules, HNIPC_TEST_SEPARATE_POLICY_FILE,
      QByteArray(), HNIPC_TEST_SEPARATE_USERS, HNIPC_TEST_OTHER_GROUP, true },
    { "local policy files", closedRules, HNIPC_POLICY_FILE,
      localFile("daemon-users.conf") + localFile("private-events.conf"), localUsers,
      HNIPC_CLIENT_GROUP, true },
};

QByteArray daemonUser(int site, int server)
{
    return QByteArray(policies[site].users).split('|').at(server);
}

const gid_t clients = 4200;
const gid_t otherClients = 4201;
const gid_t localClients = qstrcmp(HNIPC_CLIENT_GROUP, localGroup) == 0 ? clients : 4202;

QList<Machine::Group> groups()
{
    QList<Machine::Group> result = { { "root", 0 },
                                     { HNIPC_CLIENT_GROUP, clients },
                                     { HNIPC_TEST_OTHER_GROUP, otherClients } };
    if (localClients != clients) {
        result << Machine::Group { localGroup, localClients };
    }
    return result;
}

const User root = { "root", 0, 0, {} };
const User aMember = { "hnipc-test-member", 4102, 4102, { 4300, clients, localClients } };
const User memberByOwnGroup = { "hnipc-test-own-group", 4103, clients, { localClients } };
const User otherMember = { "hnipc-test-other-member", 4104, 4104, { otherClients, 4300 } };
const User otherMemberByOwnGroup = { "hnipc-test-other-own-group", 4105, otherClients, {} };

// The users of all printers' daemons, each once.
QList<User> daemonUsers()
{
    QList<User> result;
    for (int site = 0; site < SiteCount; ++site) {
        for (int server = 0; server < ServerCount; ++server) {
            const QByteArray name = daemonUser(site, server);
            bool isNew = name != root.name;
            for (const User &user : result) {
                isNew = isNew && user.name != name;
            }
            if (isNew) {
                const uid_t id = uid_t(4400 + result.size());
                // As the comments of the local policy files advise.
                const bool isMember = site == LocalFiles && server == SUPPLYD;
                result << User { name, id, id,
                                 isMember ? QList<gid_t> { clients, localClients }
                                          : QList<gid_t>() };
            }
        }
    }
    return result;
}

User userNamed(const QByteArray &name)
{
    for (const User &user : daemonUsers()) {
        if (user.name == name) {
            return user;
        }
    }
    return root;
}

QList<User> users()
{
    return daemonUsers() << root << aMember << memberByOwnGroup << otherMember
                         << otherMemberByOwnGroup;
}

bool isMember(const User &user, const char *group)
{
    for (const Machine::Group &each : groups()) {
        if (qstrcmp(each.name, group) == 0) {
            return user.gid == each.gid || user.groups.contains(each.gid);
        }
    }
    return false;
}

enum Right { Nobody = 3, Daemon = 2, Client = 1, Everybody = 0 };

// The policy that local files add to.
int generated(int site) { return site == LocalFiles ? int(Installed) : site; }

Right rightOf(const User &user, int site, int server)
{
    if (user.name == daemonUser(site, server) || user.name == daemonUser(generated(site), server)) {
        return Daemon;
    }
    const Policy &policy = policies[generated(site)];
    const bool isDaemon = QByteArray(policy.users).split('|').contains(user.name);
    return isDaemon || isMember(user, policy.group) ? Client : Everybody;
}

bool receivesEvents(const User &user, int site)
{
    const Policy &policy = policies[generated(site)];
    const bool isDaemon = QByteArray(policy.users).split('|').contains(user.name);
    return !policies[site].isPrivate || (site == LocalFiles && isMember(user, localGroup))
        || (policy.isPrivate && (isDaemon || isMember(user, policy.group)));
}

const QByteArray refused = "org.freedesktop.DBus.Error.AccessDenied";

// A process of a user.
class Person
{
public:
    Person(const User &user, const Bus &bus)
    {
        Machine::start(&m_process, user, bus.address(), "hnipc-test-person");
        m_name = line();
        if (m_name.isEmpty()) {
            qFatal("%s is not on the bus: %s\n%s", user.name.constData(),
                   m_process.readAllStandardError().constData(), Bus::log().constData());
        }
    }

    ~Person()
    {
        m_process.closeWriteChannel();
        m_process.waitForFinished();
    }

    // The unique name of its connection.
    QByteArray name() const { return m_name; }

    QByteArray call(const QByteArray &destination, const QByteArray &interface,
                    const QByteArray &member, const QByteArray &body = "()")
    {
        beginCall(destination, interface, member, body);
        return answer();
    }

    void beginCall(const QByteArray &destination, const QByteArray &interface,
                   const QByteArray &member, const QByteArray &body = "()")
    {
        m_process.write("call\t" + destination + '\t' + interface + '\t' + member + '\t' + body
                        + '\n');
    }

    QByteArray answer() { return line(); }

    QByteArray own(const QByteArray &name)
    {
        return call("org.freedesktop.DBus", "org.freedesktop.DBus", "RequestName",
                    "('" + name + "', uint32 4)"); // 4: without queueing
    }

    void send(const QByteArray &interface, const QByteArray &member, const QByteArray &body,
              const QByteArray &destination = QByteArray())
    {
        QCOMPARE(ask("signal\t" + interface + '\t' + member + '\t' + body + '\t' + destination),
                 QByteArray("sent"));
    }

    void listen(const QByteArray &interface)
    {
        QCOMPARE(ask("listen\ttype='signal',interface='" + interface + '\''),
                 QByteArray("listening"));
    }

    // All lines up to the fence with this number, without the fence.
    QList<QByteArray> heardUpTo(int fence)
    {
        const QByteArray last = "local.Fence.Passed (" + QByteArray::number(fence) + ",)";
        QList<QByteArray> heard;
        waitUntil([&]() {
            heard = list("signals");
            return heard.contains(last);
        });
        ask("forget");
        heard.removeAll(last);
        return heard;
    }

    QList<QByteArray> list(const QByteArray &what)
    {
        const QByteArray all = ask(what);
        return all.isEmpty() ? QList<QByteArray>() : all.split('\t');
    }

    QByteArray ask(const QByteArray &order)
    {
        m_process.write(order + '\n');
        return line();
    }

private:
    QByteArray line()
    {
        const int guard = 60 * 1000; // against hanging
        while (!m_process.canReadLine() && m_process.waitForReadyRead(guard)) {}
        return m_process.readLine().trimmed();
    }

    Process m_process;
    QByteArray m_name;
};

// The print engine if the bus name is empty.
int serverOf(const QByteArray &busName)
{
    for (int server = 0; server < ServerCount; ++server) {
        if (busName == identities[server].busName) {
            return server;
        }
    }
    return M4;
}

bool hasTool() { return QFile::exists(Machine::program("hnipcctl")); }

} // namespace

// A bus with the three daemons, and one user of each kind.
class Printer
{
public:
    Printer(Bus::Kind kind, int which)
        : bus(
            kind,
            configuration(policies[which].rules, policies[which].file, policies[which].localFiles)),
          site(which)
    {
        for (int server = 0; server < ServerCount; ++server) {
            const User user = userNamed(daemonUser(site, server));
            daemon[server] = QSharedPointer<Person>(new Person(user, bus));
        }
        // In every printer, this one may also call the other daemons and receives their signals.
        add("a daemon's user", userNamed(daemonUser(site, SUPPLYD)));
        add("ioexpd's user", userNamed(daemonUser(site, IOEXPD)));
        add("m4's user", userNamed(daemonUser(site, M4)));
        add("ioexpd's installed user", userNamed(daemonUser(generated(site), IOEXPD)));
        add("m4's installed user", userNamed(daemonUser(generated(site), M4)));
        add("supplyd's installed user", userNamed(daemonUser(generated(site), SUPPLYD)));
        const bool isOther = qstrcmp(policies[site].group, HNIPC_TEST_OTHER_GROUP) == 0;
        add("member", isOther ? otherMember : aMember);
        add("member by its own group", isOther ? otherMemberByOwnGroup : memberByOwnGroup);
        // In the group of the other file, which has no rights here.
        add("stranger", isOther ? aMember : otherMember);
        add("root", root);
    }

    struct Somebody
    {
        Right rightOn(int server) const { return rightOf(user, site, server); }
        bool receives() const { return receivesEvents(user, site); }

        QByteArray kind;
        int site;
        User user;
        QSharedPointer<Person> person;
        QByteArray answer; // the outcome of its last call
    };

    Somebody &somebody(const QByteArray &kind)
    {
        for (Somebody &each : people) {
            if (each.kind == kind) {
                return each;
            }
        }
        qFatal("nobody is %s", kind.constData());
        return people.first(); // Qt 4 does not declare that qFatal() never returns
    }

    // All users make the call, and wait for their replies at the same time.
    void call(const QByteArray &destination, const QByteArray &interface, const QByteArray &member)
    {
        for (Somebody &each : people) {
            each.person->beginCall(destination, interface, member);
        }
        for (Somebody &each : people) {
            each.answer = each.person->answer();
        }
    }

    // The calls that reached the daemons since the last time.
    QList<QByteArray> takeCalls()
    {
        QList<QByteArray> result;
        for (int server = 0; server < ServerCount; ++server) {
            result += daemon[server]->list("calls");
        }
        return result;
    }

    void start(Process *process, const QByteArray &kind, const char *program,
               const QStringList &arguments = QStringList())
    {
        Machine::start(process, somebody(kind).user, bus.address(), program, arguments);
    }

    Outcome run(const QByteArray &kind, const char *program, const QStringList &arguments)
    {
        Process process;
        start(&process, kind, program, arguments);
        return { process.exitCode(), process.output(), process.errors() };
    }

    const Bus bus;
    const int site;
    QSharedPointer<Person> daemon[ServerCount];
    QList<Somebody> people;

private:
    void add(const char *kind, const User &user)
    {
        for (const Somebody &each : people) {
            if (each.user.name == user.name) {
                return;
            }
        }
        const Somebody somebody = { kind, site, user, QSharedPointer<Person>(new Person(user, bus)),
                                    QByteArray() };
        people << somebody;
    }
};

class tst_Policy : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data();
    void init();
    void cleanupTestCase() { m_printers.clear(); }

    void names();
    void calls_data();
    void calls();
    void everyOperation_data() { addSlots(); }
    void everyOperation();
    void events_data();
    void events();
    void daemonsAmongThemselves();
    void otherServicesAreLeftAlone();
    void unknownUserGivesNoAccess();
    void application_data();
    void application();
    void tool_data();
    void tool();
    void toolReceivesSignals();

private:
    void addSlots();

    QMap<int, QSharedPointer<Printer>> m_printers;
    Printer *m_printer;
    int m_fences = 0;
};

void tst_Policy::initTestCase_data()
{
    QTest::addColumn<int>("bus");
    QTest::addColumn<int>("site");
    for (int site = 0; site < SiteCount; ++site) {
        const QByteArray name = policies[site].name;
        if (!isOnDBusBroker()) { // it takes the place of dbus-daemon
            QTest::newRow("dbus-daemon, " + name) << int(Bus::DBusDaemon) << site;
        }
        QTest::newRow("dbus-broker, " + name) << int(Bus::DBusBroker) << site;
    }
}

void tst_Policy::init()
{
    QFETCH_GLOBAL(int, bus);
    QFETCH_GLOBAL(int, site);
    const Bus::Kind kind = Bus::Kind(bus);
    if (!Bus::isThere(kind)) {
        HNIPC_SKIP("this bus is not there");
    }
    QSharedPointer<Printer> &printer = m_printers[bus * SiteCount + site];
    if (!printer) {
        printer = QSharedPointer<Printer>(new Printer(kind, site));
        for (int server = 0; server < ServerCount; ++server) {
            QCOMPARE(printer->daemon[server]->own(identities[server].busName),
                     QByteArray("answered (uint32 1,)"));
        }
    }
    m_printer = printer.data();
}

void tst_Policy::names()
{
    for (int server = 0; server < ServerCount; ++server) {
        for (const Printer::Somebody &somebody : m_printer->people) {
            const QByteArray name = identities[server].busName;
            const QByteArray answer = somebody.person->own(name);
            const QByteArray taken = "answered (uint32 3,)";
            QVERIFY2(answer == (somebody.rightOn(server) >= Daemon ? taken : refused),
                     somebody.kind + ", " + name + ": " + answer);
        }
    }
}

void tst_Policy::calls_data()
{
    QTest::addColumn<QByteArray>("destination"); // if empty, the print engine's unique name
    QTest::addColumn<QByteArray>("interface");
    QTest::addColumn<QByteArray>("member");
    QTest::addColumn<int>("least");
    QTest::addColumn<QByteArray>("arrives"); // empty if the peer's bus library replies itself
    const QByteArray standard = "org.freedesktop.DBus.";
    const QByteArray simulator = "org.hnipc.Simulator";
    for (const Identity &identity : identities) {
        const QByteArray name = identity.busName;
        const QByteArray interface = identity.interface;
        QTest::newRow(name + ": operation") << name << interface << QByteArray("anything")
                                            << int(Client) << interface + ".anything ()";
        // Neither the library nor the tools omit the interface. Without it a bus could not tell the
        // pulses from other operations.
        QTest::newRow(name + ": without an interface")
            << name << QByteArray() << QByteArray("anything") << int(Daemon)
            << QByteArray(".anything ()");
        QTest::newRow(name + ": introspection")
            << name << standard + "Introspectable" << QByteArray("Introspect") << int(Client)
            << QByteArray();
        QTest::newRow(name + ": ping")
            << name << standard + "Peer" << QByteArray("Ping") << int(Client) << QByteArray();
        QTest::newRow(name + ": properties") << name << standard + "Properties"
                                             << QByteArray("GetAll") << int(Daemon) << QByteArray();
        QTest::newRow(name + ": simulator")
            << name << simulator << QByteArray("press") << int(Daemon) << simulator + ".press ()";
    }
    const QByteArray interface = identities[M4].interface;
    QTest::newRow("unique name: operation") << QByteArray() << interface << QByteArray("anything")
                                            << int(Client) << interface + ".anything ()";
    QTest::newRow("unique name: pulse")
        << QByteArray() << interface << QByteArray("pulseM4PrinterLidSignal") << int(Daemon)
        << interface + ".pulseM4PrinterLidSignal ()";
    QTest::newRow("unique name: pulse without an interface")
        << QByteArray() << QByteArray() << QByteArray("pulseM4PrinterLidSignal") << int(Daemon)
        << QByteArray(".pulseM4PrinterLidSignal ()");
    QTest::newRow("another daemon's interface")
        << QByteArray(identities[SUPPLYD].busName)
        << interface << QByteArray("pulseM4PrinterLidSignal") << int(Daemon)
        << interface + ".pulseM4PrinterLidSignal ()";
}

void tst_Policy::calls()
{
    QFETCH(QByteArray, destination);
    QFETCH(QByteArray, interface);
    QFETCH(QByteArray, member);
    QFETCH(int, least);
    QFETCH(QByteArray, arrives);
    const int server = serverOf(destination);
    if (destination.isEmpty()) {
        destination = m_printer->daemon[M4]->name();
    }
    m_printer->takeCalls();
    QList<QByteArray> allowed;
    m_printer->call(destination, interface, member);
    for (const Printer::Somebody &somebody : m_printer->people) {
        const QByteArray answer = somebody.answer;
        const bool isAllowed = somebody.rightOn(server) >= least;
        QVERIFY2((answer == refused) != isAllowed && answer != "no answer",
                 somebody.kind + ": " + answer);
        if (isAllowed && !arrives.isEmpty()) {
            allowed << arrives;
        }
    }
    QCOMPARE(m_printer->takeCalls(), allowed);
}

void tst_Policy::addSlots()
{
    QTest::addColumn<int>("server");
    QTest::addColumn<QByteArray>("member");
    QTest::addColumn<bool>("isPulse");
    for (int server = 0; server < ServerCount; ++server) {
        for (const ServerSlot &slot : serverSlots(server)) {
            if (!slot.cloned) {
                QTest::newRow(
                    (identities[server].tag + QByteArray(" ") + slot.signature).constData())
                    << server << slot.name << slot.isPulse();
            }
        }
    }
}

void tst_Policy::everyOperation()
{
    QFETCH(int, server);
    QFETCH(QByteArray, member);
    QFETCH(bool, isPulse);
    m_printer->takeCalls();
    QList<QByteArray> allowed;
    const QByteArray interface = identities[server].interface;
    m_printer->call(identities[server].busName, interface, member);
    for (const Printer::Somebody &somebody : m_printer->people) {
        const QByteArray answer = somebody.answer;
        const bool isAllowed = somebody.rightOn(server) >= (isPulse ? Daemon : Client);
        QVERIFY2(answer == (isAllowed ? "answered (true,)" : refused),
                 somebody.kind + ": " + answer);
        if (isAllowed) {
            allowed << interface + '.' + member + " ()";
        }
    }
    QCOMPARE(m_printer->takeCalls(), allowed);
}

void tst_Policy::events_data()
{
    QTest::addColumn<QByteArray>("interface");
    QTest::addColumn<int>("server");
    for (int server = 0; server < ServerCount; ++server) {
        const char *interface = identities[server].interface;
        QTest::newRow(interface) << QByteArray(interface) << server;
    }
    QTest::newRow("another service's") << QByteArray("local.Clock") << int(NoServer);
}

// Signals to all, to one application alone, and to a daemon, which subscribes to the other daemons.
void tst_Policy::events()
{
    QFETCH(QByteArray, interface);
    QFETCH(int, server);
    Person &client = *m_printer->somebody("member").person;
    Person &stranger = *m_printer->somebody("stranger").person;
    Person &daemon = *m_printer->daemon[SUPPLYD];
    for (Person *listener : { &client, &stranger, &daemon }) {
        listener->listen(interface);
        listener->listen("local.Fence");
    }
    const bool strangerHears = server == NoServer || m_printer->somebody("stranger").receives();
    QVERIFY(m_printer->somebody("member").receives());
    QVERIFY(m_printer->somebody("a daemon's user").receives());
    for (const Printer::Somebody &somebody : m_printer->people) {
        Person &sender = *somebody.person;
        sender.send(interface, "Event", "('to all',)");
        sender.send(interface, "Event", "('to the application',)", client.name());
        sender.send(interface, "Event", "('to the stranger',)", stranger.name());
        sender.send(interface, "Event", "('to the daemon',)", daemon.name());
        sender.send(interface, "Event", "('to its name',)", identities[SUPPLYD].busName);
        sender.send("local.Fence", "Passed", '(' + QByteArray::number(++m_fences) + ",)");

        QList<QByteArray> heard[3];
        heard[0] = client.heardUpTo(m_fences);
        heard[1] = stranger.heardUpTo(m_fences);
        heard[2] = daemon.heardUpTo(m_fences);
        QList<QByteArray> expected[3];
        if (server == NoServer || somebody.rightOn(server) >= Daemon) {
            const QByteArray event = interface + ".Event ('to ";
            expected[0] << event + "all',)" << event + "the application',)";
            if (strangerHears) {
                expected[1] << event + "all',)" << event + "the stranger',)";
            }
            expected[2] << event + "all',)" << event + "the daemon',)" << event + "its name',)";
        }
        for (int listener = 0; listener < 3; ++listener) {
            QVERIFY2(heard[listener] == expected[listener],
                     somebody.kind + " to " + QByteArray::number(listener));
        }
    }
}

void tst_Policy::daemonsAmongThemselves()
{
    Person &supplyd = *m_printer->daemon[SUPPLYD];
    Person &m4 = *m_printer->daemon[M4];
    const QByteArray interface = identities[M4].interface;
    supplyd.listen(interface);
    supplyd.listen("local.Fence");
    m4.send(interface, "M4_M4PrinterLid", "(true,)");
    m4.send("local.Fence", "Passed", '(' + QByteArray::number(++m_fences) + ",)");
    const QList<QByteArray> heard = supplyd.heardUpTo(m_fences);
    QVERIFY(heard.contains(interface + ".M4_M4PrinterLid (true,)"));
    const bool isSame = daemonUser(m_printer->site, M4) == daemonUser(m_printer->site, SUPPLYD);
    const QByteArray answered = "answered (true,)";
    QCOMPARE(supplyd.call(identities[M4].busName, interface, "forwardFeed"), answered);
    QCOMPARE(supplyd.call(identities[M4].busName, interface, "pulseM4PrinterLidSignal"),
             isSame ? answered : refused);
}

// A rule that is too wide would also deny calls without an interface, or the replies of others to
// the daemons.
void tst_Policy::otherServicesAreLeftAlone()
{
    Person &service = *m_printer->somebody("stranger").person;
    const QByteArray clock = "local.Clock";
    const QByteArray answer = service.own(clock);
    QVERIFY2(answer == "answered (uint32 1,)" || answer == "answered (uint32 4,)", answer);
    QList<Person *> callers;
    callers << m_printer->daemon[M4].data();
    for (const Printer::Somebody &somebody : m_printer->people) {
        callers << somebody.person.data();
    }
    for (Person *caller : callers) {
        for (const QByteArray &interface : { clock, QByteArray() }) {
            QCOMPARE(caller->call(clock, interface, "now"), QByteArray("answered (true,)"));
        }
    }
}

// If the group or the user does not exist yet, no user may own the names, and so no daemon can start.
void tst_Policy::unknownUserGivesNoAccess()
{
    QFETCH_GLOBAL(int, bus);
    QFETCH_GLOBAL(int, site);
    const Bus unknown(Bus::Kind(bus),
                      configuration(policies[site].rules, HNIPC_TEST_UNKNOWN_POLICY_FILE));
    for (const User &user : users()) {
        Person person(user, unknown);
        for (const Identity &identity : identities) {
            QVERIFY2(person.own(identity.busName) == refused, user.name);
        }
    }
}

void tst_Policy::application_data()
{
    QTest::addColumn<QByteArray>("kind");
    QTest::addColumn<QByteArray>("prints");
    const QByteArray values = "fed 1, error 7, sku LBL-1\nlid 1\n";
    QTest::newRow("a daemon's user") << QByteArray("a daemon's user") << values;
    QTest::newRow("member") << QByteArray("member") << values;
    QTest::newRow("member by its own group") << QByteArray("member by its own group") << values;
    QTest::newRow("stranger") << QByteArray("stranger")
                              << QByteArray("fed 0, error 0, sku null\nlid 1\n");
}

// The calls of the client class fail without a message.
void tst_Policy::application()
{
    QFETCH(QByteArray, kind);
    QFETCH(QByteArray, prints);
    Person &m4 = *m_printer->daemon[M4];
    m4.ask("answer\tgetError\t(7,)");
    m_printer->daemon[SUPPLYD]->ask("answer\tsupplySKUCached\t('LBL-1',)");

    Process process;
    m_printer->start(&process, kind, "hnipc-test-application");
    QVERIFY(waitUntil([&]() { return process.canReadLine() || !process.isRunning(); }));
    m4.send(identities[M4].interface, "M4_M4PrinterLid", "(true,)");
    const bool receives = m_printer->somebody(kind).receives();
    if (!receives) {
        process.send(SIGTERM); // otherwise it would wait for the event forever
        prints.truncate(prints.indexOf('\n') + 1);
    }
    QVERIFY(process.ends());
    QCOMPARE(process.readAllStandardOutput(), prints);
    QCOMPARE(process.readAllStandardError(), QByteArray());
    QCOMPARE(process.exitCode(), receives ? 0 : -1);
}

void tst_Policy::tool_data()
{
    QTest::addColumn<QByteArray>("kind");
    QTest::addColumn<QByteArray>("arguments");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("prints"); // in this order, among other output
    QTest::addColumn<QByteArray>("complains");
    const QByteArray member = "member";
    const QByteArray stranger = "stranger";
    const QByteArray noRight = "no right to call the daemons: the bus lets members of the "
                               "group " HNIPC_CLIENT_GROUP
                               " do it; a new member has to log in again";
    const QByteArray nothing;
    QTest::newRow("member calls") << member << QByteArray("call forwardFeed 200") << 0
                                  << QByteArray("true\n") << nothing;
    QTest::newRow("stranger calls") << stranger << QByteArray("call forwardFeed 200") << 3
                                    << nothing << "hnipcctl: " + noRight + '\n';
    QTest::newRow("member calls with a deadline")
        << member << QByteArray("call --deadline 60000 forwardFeed 200") << 0
        << QByteArray("answered: true\n") << nothing;
    QTest::newRow("stranger calls with a deadline")
        << stranger << QByteArray("call --deadline 60000 forwardFeed 200") << 3 << nothing
        << "hnipcctl: not sent: " + noRight + '\n';
    QTest::newRow("stranger asks for a property")
        << stranger << QByteArray("get qmlPrintEngineErrorCode") << 3 << nothing
        << "hnipcctl: qmlPrintEngineErrorCode: " + noRight + '\n';
    QTest::newRow("stranger calls for a program")
        << stranger << QByteArray("--json call forwardFeed 200") << 3
        << "\"error\": \"" + noRight + "\",\n    \"errorName\": \"" + refused + '"'
        << "hnipcctl: " + noRight + '\n';
    QTest::newRow("stranger introspects")
        << stranger << QByteArray("introspect m4") << 3 << nothing << "hnipcctl: " + noRight + '\n';
    const QByteArray
        noActs = "hnipcctl: the bus does not allow acts on m4: this may be a printer\n";
    QTest::newRow("member acts") << member << QByteArray("simulate --daemon m4 reset") << 1
                                 << nothing << noActs;
    QTest::newRow("member acts on a reading")
        << member << QByteArray("simulate --daemon m4 set gap 3") << 1 << nothing << noActs;
    QTest::newRow("stranger acts")
        << stranger << QByteArray("simulate --daemon m4 reset") << 1 << nothing << noActs;
    QTest::newRow("stranger asks for the state")
        << stranger << QByteArray("status") << 3
        << QByteArray("  qmlPrintEngineErrorCode  no right\n  qmlPrintEngineAlertCode  no right\n")
        << "hnipcctl: " + noRight + '\n';
}

void tst_Policy::tool()
{
    QFETCH(QByteArray, kind);
    QFETCH(QByteArray, arguments);
    QFETCH(int, exitCode);
    QFETCH(QByteArray, prints);
    QFETCH(QByteArray, complains);
    if (!hasTool()) {
        HNIPC_SKIP("there is no hnipcctl for this Qt");
    }
    const Outcome run = m_printer->run(kind, "hnipcctl",
                                       QString::fromLatin1(arguments).split(QLatin1Char(' ')));
    QCOMPARE(run.errors, complains);
    QCOMPARE(run.code, exitCode);
    QVERIFY2(prints.isEmpty() ? run.output.isEmpty() : run.output.contains(prints), run.output);
}

void tst_Policy::toolReceivesSignals()
{
    if (!hasTool()) {
        HNIPC_SKIP("there is no hnipcctl for this Qt");
    }
    // Without the right to call a daemon, if the policy allows it.
    const char *kind = m_printer->somebody("stranger").receives() ? "stranger" : "member";
    Process monitor;
    m_printer->start(&monitor, kind, "hnipcctl",
                     QStringList() << QLatin1String("monitor") << QLatin1String("--count")
                                   << QLatin1String("1"));
    QVERIFY2(monitor.complains("subscribed"), monitor.errors().constData());
    m_printer->daemon[M4]->send(identities[M4].interface, "M4_M4PrinterLid", "(true,)");
    QCOMPARE(monitor.exitCode(), 0);
    QVERIFY2(monitor.prints("M4PrinterLid value=true"), monitor.output() + monitor.errors());
}

int main(int argc, char **argv)
{
    QByteArray reason;
    if (!Machine::make(users(), groups(), &reason)) {
        std::printf("SKIP   : tst_Policy: %s\n", reason.constData());
        return HNIPC_TEST_SKIPPED;
    }
    const QString files = QString::fromLocal8Bit(HNIPC_TEST_PROGRAMS);
    for (const QString &program : files.split(QLatin1Char('|'))) {
        Machine::publish(program, QLatin1String("bin"));
    }
    for (const QString &library :
         QString::fromLocal8Bit(HNIPC_TEST_LIBRARIES).split(QLatin1Char('|'))) {
        Machine::publish(library, QLatin1String("lib"));
    }
    const QDir interfaces(QString::fromLocal8Bit(HNIPC_INTERFACES_DIR));
    for (const QString &name : interfaces.entryList(QDir::Files)) {
        Machine::publish(interfaces.filePath(name), QLatin1String("interfaces"));
    }

    QCoreApplication application(argc, argv);
    tst_Policy test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_policy.moc"
