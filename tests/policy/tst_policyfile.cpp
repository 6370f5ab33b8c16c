// SPDX-License-Identifier: MIT
#include "contract/interfaces.h"

#include <QtCore/QFile>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QXmlStreamReader>
#include <QtTest/QTest>

#include <algorithm>

using namespace Expected;

typedef QList<QByteArray> Lines;

// The rules of the file, grouped by the users to whom they apply: "context default", "group hnipc".
// Each rule is written as "allow own=org.hnipc.m4", with its attributes in a fixed order.
class tst_PolicyFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data();
    void init();
    void noOtherUserHasRules();
    void rulesForAllUsers();
    void rulesForClients();
    void rulesForDaemons();

private:
    Lines m_users; // of the daemons
    QByteArray m_group;
    bool m_isPrivate = false;
    QMap<QByteArray, Lines> m_rules;
};

namespace {

Lines sorted(Lines lines)
{
    std::sort(lines.begin(), lines.end());
    return lines;
}

QByteArray joined(const Lines &lines)
{
    QByteArray result;
    for (const QByteArray &line : sorted(lines)) {
        result += line + '\n';
    }
    return result;
}

void addCalls(Lines *rules, int server)
{
    const Identity &identity = identities[server];
    for (const char *interface : { identity.interface, "org.freedesktop.DBus.Introspectable",
                                   "org.freedesktop.DBus.Peer" }) {
        *rules << QByteArray("allow send_destination=") + identity.busName
                + " send_interface=" + interface + " send_type=method_call";
    }
    for (const ServerSlot &slot : serverSlots(server)) {
        if (slot.isPulse() && !slot.cloned) {
            *rules << QByteArray("deny send_destination=") + identities[server].busName
                    + " send_interface=" + identities[server].interface + " send_member="
                    + slot.name;
        }
    }
}

void addOwn(Lines *rules, int server)
{
    const QByteArray name = identities[server].busName;
    *rules << "allow own=" + name << "allow send_destination=" + name + " send_type=method_call"
           << QByteArray("allow send_interface=")
            + identities[server].interface + " send_type=signal";
}

QByteArray received(const char *action, int server)
{
    return QByteArray(action)
        + " receive_interface=" + identities[server].interface + " receive_type=signal";
}

// The last matching rule applies, so an exception has to follow the rule that it restricts.
bool exceptionsFollow(const Lines &rules)
{
    for (const Identity &identity : identities) {
        const QByteArray to = QByteArray(" send_destination=") + identity.busName + ' ';
        bool denied = false;
        for (const QByteArray &rule : rules) {
            denied = denied || (rule.startsWith("deny") && rule.contains(to));
            if (denied && rule.startsWith("allow") && rule.contains(to)) {
                return false;
            }
        }
    }
    return true;
}

} // namespace

void tst_PolicyFile::initTestCase_data()
{
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<QByteArray>("users");
    QTest::addColumn<QByteArray>("group");
    QTest::addColumn<bool>("isPrivate");
    QTest::newRow("installed") << QByteArray(HNIPC_POLICY_FILE) << QByteArray(HNIPC_DAEMON_USERS)
                               << QByteArray(HNIPC_CLIENT_GROUP) << bool(HNIPC_PRIVATE_EVENTS);
    QTest::newRow("a user for each daemon, private events")
        << QByteArray(HNIPC_TEST_SEPARATE_POLICY_FILE) << QByteArray(HNIPC_TEST_SEPARATE_USERS)
        << QByteArray(HNIPC_TEST_OTHER_GROUP) << true;
}

void tst_PolicyFile::init()
{
    QFETCH_GLOBAL(QByteArray, path);
    QFETCH_GLOBAL(QByteArray, users);
    QFETCH_GLOBAL(QByteArray, group);
    QFETCH_GLOBAL(bool, isPrivate);
    m_users = users.split('|');
    m_group = group;
    m_isPrivate = isPrivate;
    m_rules.clear();
    QCOMPARE(int(m_users.size()), int(ServerCount));
    QFile file(QFile::decodeName(path));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QXmlStreamReader xml(&file);
    QByteArray subject;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement) {
            continue;
        }
        QMap<QByteArray, QByteArray> attributes;
        const QXmlStreamAttributes all = xml.attributes();
        for (const QXmlStreamAttribute &attribute : all) {
            attributes[attribute.name().toString().toLatin1()] = attribute.value()
                                                                     .toString()
                                                                     .toLatin1();
        }
        const QByteArray element = xml.name().toString().toLatin1();
        if (element == "policy") {
            QCOMPARE(int(attributes.size()), 1);
            subject = attributes.constBegin().key() + ' ' + attributes.constBegin().value();
            QVERIFY2(!m_rules.contains(subject), subject);
            m_rules[subject];
        } else if (element == "allow" || element == "deny") {
            QByteArray rule = element;
            for (auto attribute = attributes.begin(); attribute != attributes.end(); ++attribute) {
                rule += ' ' + attribute.key() + '=' + attribute.value();
            }
            m_rules[subject] << rule;
        } else {
            QCOMPARE(element, QByteArray("busconfig"));
        }
    }
    QVERIFY2(!xml.hasError(), qPrintable(xml.errorString()));
}

void tst_PolicyFile::noOtherUserHasRules()
{
    Lines expected = Lines() << "context default"
                             << "group " + m_group;
    for (const QByteArray &user : m_users) {
        if (!expected.contains("user " + user)) {
            expected << "user " + user;
        }
    }
    QCOMPARE(joined(m_rules.keys()), joined(expected));
}

void tst_PolicyFile::rulesForAllUsers()
{
    Lines rules;
    for (int server = 0; server < ServerCount; ++server) {
        const QByteArray name = identities[server].busName;
        rules << "deny own=" + name << "deny send_destination=" + name + " send_type=method_call"
              << QByteArray("deny send_interface=")
                + identities[server].interface + " send_type=signal";
        if (m_isPrivate) {
            rules << received("deny", server);
        }
    }
    QCOMPARE(joined(m_rules["context default"]), joined(rules));
}

void tst_PolicyFile::rulesForClients()
{
    Lines rules;
    for (int server = 0; server < ServerCount; ++server) {
        addCalls(&rules, server);
        if (m_isPrivate) {
            rules << received("allow", server);
        }
    }
    const Lines written = m_rules["group " + m_group];
    QCOMPARE(joined(written), joined(rules));
    QVERIFY(exceptionsFollow(written));
}

void tst_PolicyFile::rulesForDaemons()
{
    for (const QByteArray &user : m_users) {
        Lines rules;
        for (int server = 0; server < ServerCount; ++server) {
            if (m_users.at(server) == user) {
                addOwn(&rules, server);
            } else {
                addCalls(&rules, server);
            }
            if (m_isPrivate) {
                rules << received("allow", server);
            }
        }
        const Lines written = m_rules["user " + user];
        QCOMPARE(joined(written), joined(rules));
        QVERIFY2(exceptionsFollow(written), user);
    }
}

int main(int argc, char **argv)
{
    tst_PolicyFile test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_policyfile.moc"
