// SPDX-License-Identifier: MIT
#ifndef HNIPC_PANEL_COMMAND_H
#define HNIPC_PANEL_COMMAND_H

#include <hnipc/hnipcrequest.h>

#include <QtCore/QObject>
#include <QtCore/QString>

#include <functional>

/// What a person can ask of the printer: a request in flight, and what became of it in their words.
class Command : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString label READ label CONSTANT)
    Q_PROPERTY(QString about READ about CONSTANT)
    Q_PROPERTY(QString keys READ keys CONSTANT)
    Q_PROPERTY(bool atWork READ isAtWork NOTIFY changed)
    Q_PROPERTY(QString outcome READ outcome NOTIFY changed)
    Q_PROPERTY(bool good READ isGood NOTIFY changed)

public:
    struct Words
    {
        const char *label;
        const char *about;
        const char *keys; ///< the letters that give it
        const char *done; ///< when the printer says yes
        const char *no;   ///< when the printer says no, and it is not known why
    };

    /// @p reason is asked why the printer says no; empty where that is not known.
    Command(const Words &words, const QString &method, const QVariantList &arguments,
            int patience, std::function<QString()> reason, QObject *parent = nullptr);

    QString label() const { return QString::fromLatin1(m_words.label); }
    QString about() const { return QString::fromLatin1(m_words.about); }
    QString keys() const { return QString::fromLatin1(m_words.keys); }
    bool isAtWork() const { return m_request.isPending(); }
    QString outcome() const { return m_outcome; } ///< empty before the first, and while at work
    bool isGood() const { return m_good; }        ///< the outcome is what was wanted

    /// What became of it after the printer said yes; nothing when it did not.
    void settle(const QString &outcome, bool good);

public slots:
    /// Nothing while it is at work.
    void run();

signals:
    void changed();
    void finished(const QString &label, const QString &outcome);

private:
    void onFinished();
    QString refusal() const;

    Words m_words;
    std::function<QString()> m_reason;
    HNIPCRequest m_request;
    QString m_outcome;
    bool m_good = false;
};

#endif
