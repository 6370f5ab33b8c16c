// SPDX-License-Identifier: MIT
#include "expected/clientsignals.h"
#include "expected/clientslots.h"
#include "expected/samples.h"
#include "support/fakedaemons.h"
#include "support/privatebus.h"
#include "support/waituntil.h"

#include <hnipc/hnipc.h>
#include <hnipc/hnipcserver.h>

#include <QtCore/QScopedPointer>

using namespace Expected;

// Strings of every kind, wherever a string can be sent.
class tst_Texts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();

    void argumentArrives_data();
    void argumentArrives();
    void answerArrives_data();
    void answerArrives();
    void signalArrives_data();
    void signalArrives();
    void recordArrives_data();
    void recordArrives();
    void pulseArrives_data();
    void pulseArrives();

public Q_SLOTS:
    void onText(const QString &text) { m_heard.append(text); }
    void onTexts(const QStringList &texts) { m_heard += texts; }

private:
    QScopedPointer<FakeDaemons> m_daemons;
    QScopedPointer<HNIPC> m_client;
    QStringList m_heard;
};

namespace {

struct Text
{
    const char *name;
    QString sent;
    QString onTheWire;
    QString received;
};

Text same(const char *name, const QString &text) { return Text { name, text, text, text }; }

Text changed(const char *name, const QString &sent, const QString &onTheWire)
{
    return Text { name, sent, onTheWire, onTheWire };
}

QString fromCodes(std::initializer_list<uint> codes)
{
    QString text;
    for (uint code : codes) {
        if (code > 0xffff) {
            text += QChar(QChar::highSurrogate(code));
            text += QChar(QChar::lowSurrogate(code));
        } else {
            text += QChar(ushort(code));
        }
    }
    return text;
}

// D-Bus has no null string, ends a string at its first zero, and carries only Unicode. Qt drops a
// byte order mark at the start of a received string.
QList<Text> texts()
{
    const QString large = QString(1024 * 1024, QLatin1Char('x')) + QChar(0x20ac);
    const QString noCharacters = fromCodes({ 0xfffe, 0xffff, 0xfdd0 });
#if QT_VERSION < QT_VERSION_CHECK(5, 0, 0)
    // An unpaired surrogate is dropped; a high one together with the next character.
    const QLatin1String highHalf("ac"), lowHalf("ab"), noCharactersOnTheWire("???");
#else
    const QLatin1String highHalf("a?bc"), lowHalf("a?b");
    const QString noCharactersOnTheWire = noCharacters;
#endif
    return {
        changed("null", QString(), QLatin1String("")),
        same("empty", QLatin1String("")),
        same("one mebibyte", large),
        changed("embedded zero", fromCodes({ 'a', 0, 'b' }), QLatin1String("a")),
        changed("leading zero", fromCodes({ 0, 'b' }), QLatin1String("")),
        changed("lone high surrogate", fromCodes({ 'a', 0xd83d, 'b', 'c' }), highHalf),
        changed("lone low surrogate", fromCodes({ 'a', 0xdda8, 'b' }), lowHalf),
        same("right to left", fromCodes({ 0x5d0, 0x202e, 0x627, 0x644, 0x200f })),
        same("combining", fromCodes({ 'e', 0x301, 0x327, 'o', 0x308 })),
        same("composed", fromCodes({ 0xe9, 0xf6 })),
        same("astral", fromCodes({ 0x1f5a8, 0x10000, 0x10fffd })),
        same("joined", fromCodes({ 0x1f468, 0x200d, 0x1f469, 0x200d, 0x1f467 })),
        changed("no characters", noCharacters, noCharactersOnTheWire),
        Text { "byte order mark", fromCodes({ 0xfeff, 'a', 0xfeff }),
               fromCodes({ 0xfeff, 'a', 0xfeff }), fromCodes({ 'a', 0xfeff }) },
        same("controls", fromCodes({ 1, 7, 9, 10, 13, 27, 0x7f, 0x85, 0x2028 })),
        same("quotes and marks", QLatin1String("'\"\\%s%1%n$(id)`&<>;\t")),
        same("blanks", QLatin1String("  a  ")),
    };
}

// The string in GVariant's notation, for any Unicode.
QByteArray quoted(const QString &text)
{
    QByteArray result = "'";
    for (int i = 0; i < text.size(); ++i) {
        // toUcs4() would append zeros in Qt 4.
        uint code = text.at(i).unicode();
        if (text.at(i).isHighSurrogate() && i + 1 < text.size()) {
            code = QChar::surrogateToUcs4(text.at(i), text.at(i + 1));
            ++i;
        }
        if ((code >= '0' && code <= '9') || (code >= 'a' && code <= 'z')) {
            result += char(code);
        } else {
            result += "\\U" + QByteArray::number(code, 16).rightJustified(8, '0');
        }
    }
    return result + '\'';
}

QByteArray quotedList(const QString &text)
{
    return '[' + quoted(text) + ", '', " + quoted(text) + ']';
}

QStringList listOf(const QString &text) { return QStringList() << text << QString() << text; }

QStringList listReceived(const QString &text)
{
    return QStringList() << text << QLatin1String("") << text;
}

bool isText(const QByteArray &type) { return type == "QString" || type == "QStringList"; }

void addTexts()
{
    QTest::addColumn<QString>("sent");
    QTest::addColumn<QString>("onTheWire");
    QTest::addColumn<QString>("received");
    const QList<Text> rows = texts();
    for (const Text &row : rows) {
        QTest::newRow(row.name) << row.sent << row.onTheWire << row.received;
    }
}

// A print engine; only its pulses are used.
class Pulses : public HNIPCServer
{
public:
    Pulses() : HNIPCServer(HNIPCServer::ServerType(3), 0) {}
};

} // namespace

void tst_Texts::initTestCase()
{
    m_daemons.reset(new FakeDaemons);
    m_client.reset(new HNIPC(0));
}

void tst_Texts::cleanupTestCase()
{
    m_client.reset();
    m_daemons.reset();
}

void tst_Texts::argumentArrives_data() { addTexts(); }

void tst_Texts::argumentArrives()
{
    QFETCH(QString, sent);
    QFETCH(QString, onTheWire);
    int tried = 0;
    for (int row = 0; row < clientSlotCount; ++row) {
        const ClientSlot &slot = clientSlots[row];
        QVariantList arguments;
        QList<QByteArray> wire;
        bool hasText = false;
        for (const QByteArray &type : slot.call.arguments) {
            hasText |= isText(type);
            if (type == "QString") {
                arguments.append(sent);
                wire.append(quoted(onTheWire));
            } else if (type == "QStringList") {
                arguments.append(listOf(sent));
                wire.append(quotedList(onTheWire));
            } else {
                const Sample sample = samplesOf(type).last();
                arguments.append(sample.value);
                wire.append(sample.wire);
            }
        }
        if (!hasText) {
            continue;
        }
        if (slot.added) {
            wire.append(slot.added);
        }
        slot.call.invoke(*m_client, arguments);
        const QList<WireMessage> calls = m_daemons->takeCalls();
        QCOMPARE(calls.size(), 1);
        QVERIFY2(calls.first().body == wireText(wireStructure(wire)), slot.signature);
        ++tried;
    }
    QVERIFY(tried > 30);
}

void tst_Texts::answerArrives_data() { addTexts(); }

void tst_Texts::answerArrives()
{
    QFETCH(QString, onTheWire);
    QFETCH(QString, received);
    int tried = 0;
    for (int row = 0; row < clientSlotCount; ++row) {
        const ClientSlot &slot = clientSlots[row];
        const QByteArray result = slot.result;
        if (!isText(result)) {
            continue;
        }
        const QByteArray signature = slot.signature;
        (*m_daemons)[slot.server].answer(
            signature.left(signature.indexOf('(')),
            '(' + (result == "QString" ? quoted(onTheWire) : quotedList(onTheWire)) + ",)");
        const QVariant answer = slot.call.invoke(*m_client, values(argumentSamples(signature, 0)));
        QVERIFY2(result == "QString" ? answer.toString() == received
                                     : answer.toStringList() == listReceived(received),
                 slot.signature);
        ++tried;
    }
    QVERIFY(tried > 10);
    m_daemons->takeCalls();
}

void tst_Texts::signalArrives_data() { addTexts(); }

void tst_Texts::signalArrives()
{
    QFETCH(QString, onTheWire);
    QFETCH(QString, received);
    int tried = 0;
    for (const ClientSignal &row : clientSignals) {
        const QByteArray signature = row.signature;
        const QList<QByteArray>
            types = signature.mid(signature.indexOf('(') + 1).replace(")", "").split(',');
        if (!row.member || !isText(types.first())) {
            continue;
        }
        const bool isList = types.first() == "QStringList";
        const QByteArray target = isList ? "1onTexts(QStringList)" : "1onText(QString)";
        QList<QByteArray> wire;
        for (const QByteArray &type : types) {
            wire.append(type == "QStringList" ? quotedList(onTheWire) : quoted(onTheWire));
        }
        QVERIFY(connect(m_client.data(), ("2" + signature).constData(), this, target.constData()));
        m_heard.clear();
        QVERIFY(m_daemons->emitSignal(row.server, row.member, wireStructure(wire)));
        QVERIFY(m_daemons->passFence());
        QVERIFY2(m_heard == (isList ? listReceived(received) : QStringList(received)),
                 row.signature);
        disconnect(m_client.data(), 0, this, 0);
        ++tried;
    }
    QVERIFY(tried > 10);
}

void tst_Texts::recordArrives_data() { addTexts(); }

void tst_Texts::recordArrives()
{
    QFETCH(QString, onTheWire);
    QFETCH(QString, received);
    QList<QByteArray> fields = initialFields();
    for (int i = 0; i < recordFieldCount; ++i) {
        const QByteArray type = recordFields[i].type;
        if (type == "s") {
            fields[i] = quoted(onTheWire);
        } else if (type == "as") {
            fields[i] = quotedList(onTheWire);
        } else if (type == "av") {
            fields[i] = "[<" + quoted(onTheWire) + ">]";
        }
    }
    (*m_daemons)[SUPPLYD].answer("supplyInformation", '(' + wireStructure(fields) + ",)");
    const SupplyInformation record = m_client->supplyInformation();
    QCOMPARE(record.text1, received);
    QCOMPARE(record.text2, received);
    QCOMPARE(record.text3, received);
    QCOMPARE(record.text4, received);
    QCOMPARE(record.text5, received);
    QCOMPARE(record.textList1, listReceived(received));
    QCOMPARE(record.textList2, listReceived(received));
    QCOMPARE(record.variantList1, QVariantList() << received);
    QCOMPARE(record.variantList5, QVariantList() << received);
    m_daemons->takeCalls();
}

void tst_Texts::pulseArrives_data() { addTexts(); }

void tst_Texts::pulseArrives()
{
    QFETCH(QString, sent);
    QFETCH(QString, onTheWire);
    WirePeer listener;
    QVERIFY(listener.listen("type='signal',member='M4_M4MessageSent'"));
    Pulses server;
    QVERIFY(server.pulseSignal(QLatin1String("/"), QLatin1String("local.IHNIPCM4"),
                               QLatin1String("M4_M4MessageSent"),
                               QList<QVariant>() << sent << listOf(sent)));
    QVERIFY(waitUntil([&]() { return listener.heard("M4_M4MessageSent") == 1; }));
    QVERIFY(listener.receivedSignals().first().body
            == wireText('(' + quoted(onTheWire) + ", " + quotedList(onTheWire) + ')'));
}

HNIPC_TEST_MAIN(tst_Texts)

#include "tst_texts.moc"
