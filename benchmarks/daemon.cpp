// SPDX-License-Identifier: MIT
//
// hnipc-bench-daemon: runs as the supply daemon, with replies of every size, methods of no to five
// arguments, and a method that sends a given number of signals.

#include <hnipc/supplyinformation.h>

#include <QtCore/QCoreApplication>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusMetaType>

class BenchDaemon : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "local.IHNIPCSUPPLYD")

public Q_SLOTS:
    bool take0() { return true; }
    bool take1(int) { return true; }
    bool take2(int, int) { return true; }
    bool take3(int, int, int) { return true; }
    bool take4(int, int, int, int) { return true; }
    bool take5(int, int, int, int, int) { return true; }
    bool takeText(const QString &) { return true; }
    bool takeList(const QStringList &) { return true; }

    QString supplySKUCached(const QString &) { return QLatin1String("LBL-100060-WH"); }
    QStringList supplySKUList() { return m_skus; }
    QByteArray supplyBackgroundImage(const QString &) { return m_image; }
    SupplyInformation supplyInformation(const QString &) { return m_record; }

    void flood(int first, int count)
    {
        for (int i = first; i < first + count; ++i) {
            QDBusMessage signal = QDBusMessage::createSignal(
                QLatin1String("/"), QLatin1String("local.IHNIPCSUPPLYD"),
                QLatin1String("SUPPLYD_SupplyPercentChanged"));
            signal << double(i);
            QDBusConnection::systemBus().send(signal);
        }
    }

public:
    BenchDaemon() : m_image(1024 * 1024, 'x')
    {
        for (int i = 0; i < 20; ++i) {
            m_skus += QString::fromLatin1("LBL-1000%1-WH").arg(i + 10);
        }
        m_record.bytes1 = QByteArray(1000, 'x');
        m_record.textList1 = m_skus;
    }

private:
    QStringList m_skus;
    QByteArray m_image;
    SupplyInformation m_record;
};

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    qDBusRegisterMetaType<SupplyInformation>();
    BenchDaemon daemon;
    QDBusConnection bus = QDBusConnection::systemBus();
    if (!bus.registerObject(QLatin1String("/"), &daemon, QDBusConnection::ExportAllSlots)
        || !bus.registerService(QLatin1String("org.hnipc.supplyd"))) {
        qFatal("no connection to the system bus");
    }
    return application.exec();
}

#include "daemon.moc"
