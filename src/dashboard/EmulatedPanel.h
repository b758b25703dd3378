// SPDX-License-Identifier: MIT
#pragma once

#include "devsrv/DeviceServiceControl.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QSpinBox>

#include <functional>

class QPushButton;
class Session;

/// Plays with the emulated card: inserts and removes it, changes fields, raises events and sets
/// faults. These calls do not block, so that they work while a report waits for the card.
class EmulatedPanel : public QWidget
{
    Q_OBJECT

public:
    /// The session must live longer than this object.
    explicit EmulatedPanel(Session &session);

    /// Fills the lists from the device service, once it is loaded.
    void fill();

private:
    using Action = std::function<std::int32_t(const DeviceServiceControl &)>;

    QWidget *cardBox();
    QWidget *fieldBox();
    QWidget *eventBox();
    QWidget *faultBox();
    QPushButton *button(const QString &text, const QString &done, const Action &action);
    void run(const QString &done, const Action &action);
    std::int32_t use(const DeviceServiceControl &control);
    std::int32_t raise(const DeviceServiceControl &control);
    std::int32_t setFault(const DeviceServiceControl &control);
    void browse();

    Session &m_session;
    QComboBox *const m_card;
    QComboBox *const m_field;
    QLineEdit *const m_value;
    QComboBox *const m_event;
    QComboBox *const m_function;
    QSpinBox *const m_result;
    QSpinBox *const m_delay;
    QSpinBox *const m_faultEvent;
    QList<QCheckBox *> m_flags;
    QLabel *const m_done;
};
