// SPDX-License-Identifier: MIT
#ifndef MAILBOX_P_H
#define MAILBOX_P_H

#include <QtCore/QAbstractEventDispatcher>
#include <QtCore/QCoreApplication>
#include <QtCore/QEvent>

#include <list>
#include <mutex>

// The type of the events that announce letters. Registered, so that no application uses it.
inline QEvent::Type letterEvent()
{
    static const int type = QEvent::registerEventType();
    return static_cast<QEvent::Type>(type);
}

// Delivers letters from any thread to an object. Each letter is announced by one event. So letters
// are delivered one by one and in order, also by a nested event loop, and follow the object when it
// is moved to another thread.
template <typename Letter>
class Mailbox
{
public:
    explicit Mailbox(QObject *owner) : m_owner(owner) {}

    // Dropped if the mailbox is closed.
    void put(const Letter &letter)
    {
        const std::lock_guard<std::mutex> lock(m_ownerMutex);
        if (!m_owner) {
            return;
        }
        {
            const std::lock_guard<std::mutex> lettersLock(m_lettersMutex);
            m_letters.push_back(letter);
        }
        QCoreApplication::postEvent(m_owner, new QEvent(letterEvent()));
    }

    // Called by the owner for each custom event. Returns false if there is no letter.
    bool take(Letter *letter)
    {
        const std::lock_guard<std::mutex> lock(m_lettersMutex);
        if (m_letters.empty()) {
            return false;
        }
        *letter = m_letters.front();
        m_letters.pop_front();
        return true;
    }

    // The same, for an owner whose receivers may run a nested event loop. In that loop, Qt's GLib
    // dispatcher does not deliver events that were posted before, to any object, until it is woken
    // up.
    bool takeForReceivers(Letter *letter)
    {
        if (QAbstractEventDispatcher *dispatcher = QAbstractEventDispatcher::instance()) {
            dispatcher->wakeUp();
        }
        return take(letter);
    }

    bool isEmpty()
    {
        const std::lock_guard<std::mutex> lock(m_lettersMutex);
        return m_letters.empty();
    }

    // Called by the owner when it is destroyed.
    void close()
    {
        const std::lock_guard<std::mutex> lock(m_ownerMutex);
        m_owner = nullptr;
        const std::lock_guard<std::mutex> lettersLock(m_lettersMutex);
        m_letters.clear();
    }

private:
    // std::mutex, because ThreadSanitizer does not see QMutex. There are two, because the event
    // wakes the owner's thread at once: with one mutex, that thread would wait until put() unlocks
    // it.
    std::mutex m_ownerMutex;
    QObject *m_owner;
    std::mutex m_lettersMutex;
    std::list<Letter> m_letters; // an empty std::list allocates no memory
};

#endif
