// SPDX-License-Identifier: MIT
#include "async/mailbox_p.h"

#include <QtTest/QTest>

#include <thread>

// An object that receives numbers as letters.
class Owner : public QObject
{
public:
    Owner() : mailbox(this), events(0) {}

    Mailbox<int> mailbox;
    QList<int> received;
    int events;

protected:
    void customEvent(QEvent *) override
    {
        ++events;
        int number = 0;
        if (mailbox.takeForReceivers(&number)) {
            received.append(number);
        }
    }
};

class tst_Mailbox : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void eachEventDeliversOneLetter();
    void emptyMailboxHasNoLetter();
    void closedMailboxTakesNoLetter();
};

void tst_Mailbox::eachEventDeliversOneLetter()
{
    Owner owner;
    std::thread([&owner]() {
        owner.mailbox.put(1);
        owner.mailbox.put(2);
    }).join();
    owner.mailbox.put(3);
    QVERIFY(!owner.mailbox.isEmpty());
    QCOMPARE(owner.received, QList<int>());
    QCoreApplication::sendPostedEvents(&owner, letterEvent());
    QCOMPARE(owner.received, QList<int>() << 1 << 2 << 3);
    QCOMPARE(owner.events, 3);
    QVERIFY(owner.mailbox.isEmpty());
}

void tst_Mailbox::emptyMailboxHasNoLetter()
{
    Owner owner;
    int number = 7;
    QVERIFY(!owner.mailbox.take(&number));
    QCOMPARE(number, 7);
    QCoreApplication::postEvent(&owner, new QEvent(letterEvent()));
    QCoreApplication::sendPostedEvents(&owner, letterEvent());
    QCOMPARE(owner.received, QList<int>());
}

void tst_Mailbox::closedMailboxTakesNoLetter()
{
    Owner owner;
    owner.mailbox.put(1);
    owner.mailbox.close();
    QVERIFY(owner.mailbox.isEmpty());
    owner.mailbox.put(2);
    QVERIFY(owner.mailbox.isEmpty());
    QCoreApplication::sendPostedEvents(&owner, letterEvent());
    QCOMPARE(owner.received, QList<int>());
    QCOMPARE(owner.events, 1);
}

QTEST_MAIN(tst_Mailbox)

#include "tst_mailbox.moc"
