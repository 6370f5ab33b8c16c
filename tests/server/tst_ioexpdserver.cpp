// SPDX-License-Identifier: MIT
#include "members.h"
#include "operations/ihnipcioexpd.h"
#include "serverinterfacetest.h"
#include "support/privatebus.h"
#include "support/waituntil.h"

#include <QtDBus/QDBusConnection>

#include <type_traits>

namespace {

typedef Operations::IOEXPD<Recorder> IoexpdRecorder;

static_assert(!std::is_convertible<QObject *, const IoexpdRecorder &>::value, "not explicit");
static_assert(areOfType<bool (IHNIPCIOEXPD::*)()>(&IHNIPCIOEXPD::pulseCancelButtonSignal,
                                                  &IHNIPCIOEXPD::pulseHelpButtonSignal,
                                                  &IHNIPCIOEXPD::pulsePrintButtonSignal),
              "a button has no arguments");

struct WithoutAudioAmp : IHNIPCIOEXPD
{
    void enableBacklight(bool) override {}
    void printerSoftCancel() override {}
};

struct WithoutBacklight : IHNIPCIOEXPD
{
    void enableAudioAmp(bool) override {}
    void printerSoftCancel() override {}
};

struct WithoutSoftCancel : IHNIPCIOEXPD
{
    void enableAudioAmp(bool) override {}
    void enableBacklight(bool) override {}
};

} // namespace

class tst_IoexpdServer : public ServerInterfaceTest
{
    Q_OBJECT

public:
    tst_IoexpdServer()
        : ServerInterfaceTest(Expected::IOEXPD, IHNIPCIOEXPD::staticMetaObject), m_presses(0),
          m_pressesWithValue(0)
    {
    }

protected:
    HNIPCServer *create(QObject *parent) override
    {
        return parent ? new IoexpdRecorder(parent) : new IoexpdRecorder;
    }

public slots:
    void press() { ++m_presses; }
    void pressWithValue(bool) { ++m_pressesWithValue; }

private slots:
    void cannotBeConstructedWithoutItsThreeOperations();
    void virtualOperationsStandInTheOrderOfTheSlots();
    void receiverThatExpectsAnArgumentGetsNoButton();

private:
    int m_presses;
    int m_pressesWithValue;
};

void tst_IoexpdServer::cannotBeConstructedWithoutItsThreeOperations()
{
    QVERIFY(std::is_abstract<IHNIPCIOEXPD>::value);
    QVERIFY(std::is_abstract<WithoutAudioAmp>::value);
    QVERIFY(std::is_abstract<WithoutBacklight>::value);
    QVERIFY(std::is_abstract<WithoutSoftCancel>::value);
}

void tst_IoexpdServer::virtualOperationsStandInTheOrderOfTheSlots()
{
    const QList<int> indexes = virtualIndexes<IHNIPCIOEXPD, IoexpdRecorder>();
    QCOMPARE(indexes, virtualIndexesAfterQObject(int(indexes.size())));
}

void tst_IoexpdServer::receiverThatExpectsAnArgumentGetsNoButton()
{
    // The server's own connection: on another one the subscription could come after the signals.
    QDBusConnection receiver = QDBusConnection::systemBus();
    const QString path = QLatin1String("/");
    const QString interface = QLatin1String("local.IHNIPCIOEXPD");
    const QString member = QLatin1String("IOEXPD_PrintButton");
    QVERIFY(receiver.connect(QString(), path, interface, member, this, SLOT(press())));
    QVERIFY(receiver.connect(QString(), path, interface, member, this, SLOT(pressWithValue(bool))));

    IHNIPCIOEXPD *ioexpd = qobject_cast<IHNIPCIOEXPD *>(server());
    QVERIFY(ioexpd->pulsePrintButtonSignal());
    QVERIFY(ioexpd->pulsePrintButtonSignal());
    QVERIFY(waitUntil([this]() { return m_presses == 2; }));
    QCOMPARE(m_pressesWithValue, 0);
    QCOMPARE(sentSignals(), signalLine(member.toLatin1()) + '\n' + signalLine(member.toLatin1()));
}

HNIPC_TEST_MAIN(tst_IoexpdServer)
#include "tst_ioexpdserver.moc"
