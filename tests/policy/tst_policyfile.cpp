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
    void initTestCase();
    void nobodyElseIsNamed();
    void whatIsRefusedToAll();
    void whatClientsMay();
    void whatTheDaemonsMay();

private:
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

void addPulses(Lines *rules, int server)
{
    for (const ServerSlot &slot : serverSlots(server)) {
        if (slot.isPulse() && !slot.cloned) {
            *rules << QByteArray("deny send_destination=") + identities[server].busName
                    + " send_interface=" + identities[server].interface + " send_member="
                    + slot.name;
        }
    }
}

} // namespace

void tst_PolicyFile::initTestCase()
{
    QFile file(QFile::decodeName(HNIPC_POLICY_FILE));
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

void tst_PolicyFile::nobodyElseIsNamed()
{
    QCOMPARE(joined(m_rules.keys()),
             joined(Lines() << "context default"
                            << "group " HNIPC_CLIENT_GROUP << "user " HNIPC_DAEMON_USER));
}

void tst_PolicyFile::whatIsRefusedToAll()
{
    Lines rules;
    for (const Identity &identity : identities) {
        const QByteArray name = identity.busName;
        rules << "deny own=" + name << "deny send_destination=" + name + " send_type=method_call"
              << QByteArray("deny send_interface=") + identity.interface + " send_type=signal";
    }
    QCOMPARE(joined(m_rules["context default"]), joined(rules));
}

void tst_PolicyFile::whatClientsMay()
{
    Lines rules;
    for (const Identity &identity : identities) {
        for (const char *interface : { identity.interface, "org.freedesktop.DBus.Introspectable",
                                       "org.freedesktop.DBus.Peer" }) {
            rules << QByteArray("allow send_destination=") + identity.busName
                    + " send_interface=" + interface + " send_type=method_call";
        }
    }
    for (int server = 0; server < ServerCount; ++server) {
        addPulses(&rules, server);
    }
    const Lines written = m_rules["group " HNIPC_CLIENT_GROUP];
    QCOMPARE(joined(written), joined(rules));

    // The last matching rule applies, so an exception has to follow the rule that it restricts.
    for (const Identity &identity : identities) {
        const QByteArray to = QByteArray(" send_destination=") + identity.busName + ' ';
        bool denied = false;
        for (const QByteArray &rule : written) {
            denied = denied || (rule.startsWith("deny") && rule.contains(to));
            QVERIFY2(!denied || !rule.startsWith("allow") || !rule.contains(to), rule);
        }
    }
}

void tst_PolicyFile::whatTheDaemonsMay()
{
    Lines rules;
    for (const Identity &identity : identities) {
        const QByteArray name = identity.busName;
        rules << "allow own=" + name << "allow send_destination=" + name
              << QByteArray("allow send_interface=") + identity.interface + " send_type=signal";
    }
    QCOMPARE(joined(m_rules["user " HNIPC_DAEMON_USER]), joined(rules));
}

int main(int argc, char **argv)
{
    tst_PolicyFile test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_policyfile.moc"
