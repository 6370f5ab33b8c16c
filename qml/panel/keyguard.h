// SPDX-License-Identifier: MIT
#ifndef HNIPC_PANEL_KEYGUARD_H
#define HNIPC_PANEL_KEYGUARD_H

#include <QtCore/QElapsedTimer>
#include <QtCore/QEvent>
#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QSet>
#include <QtCore/QTimer>

class QKeyEvent;

/// Protects a window from the input of a barcode scanner. To Qt, a scanner is a keyboard: it sends
/// its letters in a burst, with Enter at the end, and Enter would press the button with the focus.
///
/// Letters, digits and signs are always dropped, and so is any key within a second after one of them.
/// Outside of that second, a key that only moves the focus is delivered at once. Other keys are
/// delivered after 120 ms, and only if no other key was pressed within 120 ms before or after, and the
/// focus has not moved.
class KeyGuard : public QObject
{
    Q_OBJECT

public:
    /// Filters all keys of @p window, which becomes the parent.
    explicit KeyGuard(QObject *window);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    // The time of a key, by the clock and by the window system.
    struct Moment
    {
        void set(const QKeyEvent &event);
        bool isWithin(int milliseconds, const QKeyEvent &later) const;

        QElapsedTimer clock;
        ulong timestamp = 0;
    };

    bool onPress(const QKeyEvent &event);
    void drop();
    void deliver();

    Moment m_press;
    Moment m_text;
    QTimer m_pause;
    QTimer m_turn;
    int m_key = 0; // the delayed key
    Qt::KeyboardModifiers m_modifiers;
    QPointer<QObject> m_focus; // the focus when the key was pressed
    QSet<int> m_letThrough;    // delivered keys that are still down
    bool m_isDelivering = false;
};

#endif
