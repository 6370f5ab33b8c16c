// SPDX-License-Identifier: MIT
#ifndef IHNIPCIOEXPD_H
#define IHNIPCIOEXPD_H

#include <hnipc/hnipcserver.h>

/**
 * The I/O-expander daemon: front-panel buttons, audio amplifier, display backlight.
 *
 * Construct the object once, in the thread whose event loop serves its calls. Every slot is a
 * method of the interface on the bus. The daemon implements the pure virtual slots: they are called
 * over the bus. This class implements the pulse operations: the daemon calls one to send one signal
 * of the interface to all clients. A pulse operation returns false if the signal could not be queued
 * for sending. Pulse operations can be called over the bus, too; the installed bus policy refuses
 * such calls of applications.
 */
class HNIPC_EXPORT IHNIPCIOEXPD : public HNIPCServer
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "local.IHNIPCIOEXPD")

public:
    /// Acquires the bus name org.hnipc.ioexpd and exports the object; see HNIPCServer.
    explicit IHNIPCIOEXPD(QObject *parent = nullptr) : HNIPCServer(HNIPCServer::IOEXPD, parent) {}
    virtual ~IHNIPCIOEXPD() {}

public Q_SLOTS:
    /// @name Events
    /// @{

    /// The cancel button was pressed.
    Q_SCRIPTABLE bool pulseCancelButtonSignal();
    /// The help button was pressed.
    Q_SCRIPTABLE bool pulseHelpButtonSignal();
    /// The print button was pressed.
    Q_SCRIPTABLE bool pulsePrintButtonSignal();
    /// @}

    /// @name Operations
    /// @{

    /// Switches the audio amplifier on (true) or off.
    virtual Q_SCRIPTABLE void enableAudioAmp(bool value) = 0;
    /// Switches the display backlight on (true) or off.
    virtual Q_SCRIPTABLE void enableBacklight(bool value) = 0;
    /// A client sends a cancel request.
    virtual Q_SCRIPTABLE void printerSoftCancel() = 0;
    /// @}

private:
    Q_DISABLE_COPY(IHNIPCIOEXPD)
};

#endif
