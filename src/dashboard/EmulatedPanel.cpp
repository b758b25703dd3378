// SPDX-License-Identifier: MIT
#include "EmulatedPanel.h"

#include "CardList.h"
#include "Failure.h"
#include "Session.h"

#include <QFileDialog>
#include <QGroupBox>
#include <QPushButton>
#include <QRegularExpressionValidator>

#include <limits>

namespace {

constexpr struct
{
    std::uint32_t flag;
    const char *text;
} kFlags[] = {
    {DEVSRV_FAULT_WRITE_OUTPUTS,
     QT_TRANSLATE_NOOP("EmulatedPanel", "Fill the outputs although the call fails")},
    {DEVSRV_FAULT_NO_TERMINATOR,
     QT_TRANSLATE_NOOP("EmulatedPanel", "Fill texts to the end, without a NUL")},
    {DEVSRV_FAULT_HIGH_BYTES, QT_TRANSLATE_NOOP("EmulatedPanel", "Texts of bytes above ASCII")},
    {DEVSRV_FAULT_OTHER_THREAD,
     QT_TRANSLATE_NOOP("EmulatedPanel", "Raise the event on another thread")},
    {DEVSRV_FAULT_REMOVE_CARD,
     QT_TRANSLATE_NOOP("EmulatedPanel", "Remove the card before the call is answered")},
};

QComboBox *comboBox(const char *name, bool editable = false)
{
    auto *const box = new QComboBox;
    box->setObjectName(QLatin1String(name));
    box->setEditable(editable);
    // The longest item must not make the window wide.
    box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    box->setMinimumContentsLength(8);
    return box;
}

QSpinBox *spinBox(const char *name, int minimum, const QString &suffix = {})
{
    auto *const box = new QSpinBox;
    box->setObjectName(QLatin1String(name));
    box->setRange(minimum, std::numeric_limits<int>::max());
    box->setSuffix(suffix);
    box->setMinimumWidth(60);
    return box;
}

QFormLayout *formIn(QWidget *widget)
{
    auto *const form = new QFormLayout(widget);
    form->setRowWrapPolicy(QFormLayout::WrapLongRows);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    return form;
}

} // namespace

EmulatedPanel::EmulatedPanel(Session &session)
    : m_session(session), m_card(comboBox("card")), m_field(comboBox("field")),
      m_value(new QLineEdit), m_event(comboBox("event", true)), m_function(comboBox("function")),
      m_result(spinBox("faultResult", std::numeric_limits<int>::min())),
      m_delay(spinBox("delay", 0, tr(" ms"))), m_faultEvent(spinBox("faultEvent", 0)),
      m_done(new QLabel)
{
    m_value->setObjectName(QStringLiteral("value"));
    if (session.isRedacting())
        m_value->setEchoMode(QLineEdit::PasswordEchoOnEdit);
    m_done->setObjectName(QStringLiteral("done"));
    m_done->setWordWrap(true);
    m_done->setTextFormat(Qt::PlainText);
    m_delay->setSingleStep(1000);
    for (const auto &[number, text] : knownEvents())
        m_event->addItem(QStringLiteral("%1: %2").arg(number).arg(text));

    auto *const layout = new QVBoxLayout(this);
    for (QWidget *const box : {cardBox(), fieldBox(), eventBox(), faultBox()})
        layout->addWidget(box);
    layout->insertWidget(1, m_done);
    layout->addStretch();
    fill();
}

QWidget *EmulatedPanel::cardBox()
{
    auto *const box = new QGroupBox(tr("Card"));
    QFormLayout *const form = formIn(box);
    auto *const browseButton = new QPushButton(tr("Ch&oose a card file…"));
    connect(browseButton, &QPushButton::clicked, this, &EmulatedPanel::browse);
    form->addRow(tr("&Card:"), m_card);
    form->addRow(browseButton);
    form->addRow(button(tr("Chan&ge the card"), tr("The card is changed."),
                        [this](const auto &control) { return use(control); }));
    form->addRow(button(tr("&Insert"), tr("The card is inserted."),
                        [](const auto &control) { return control.insert(); }));
    form->addRow(button(tr("Re&move"), tr("The card is removed."),
                        [](const auto &control) { return control.remove(); }));
    return box;
}

QWidget *EmulatedPanel::fieldBox()
{
    auto *const box = new QGroupBox(tr("Change a field"));
    QFormLayout *const form = formIn(box);
    form->addRow(tr("Fiel&d:"), m_field);
    form->addRow(tr("&Value:"), m_value);
    form->addRow(button(tr("C&hange"), tr("The field is changed."), [this](const auto &control) {
        return control.setField(m_field->currentText().toUtf8().constData(),
                                m_value->text().toUtf8().constData());
    }));
    return box;
}

QWidget *EmulatedPanel::eventBox()
{
    auto *const box = new QGroupBox(tr("Raise an event"));
    QFormLayout *const form = formIn(box);
    form->addRow(tr("&Event:"), m_event);
    QPushButton *const raiseButton = button(tr("Rai&se"), tr("The event is raised."),
                                            [this](const auto &control) { return raise(control); });
    form->addRow(raiseButton);
    // Nine digits fit an int. The item of a known event has its meaning behind it.
    static const QRegularExpression number(QStringLiteral("-?\\d{1,9}(:.*)?"));
    m_event->setValidator(new QRegularExpressionValidator(number, m_event));
    connect(m_event, &QComboBox::editTextChanged, this, [this, raiseButton] {
        raiseButton->setEnabled(m_event->lineEdit()->hasAcceptableInput());
    });
    return box;
}

QWidget *EmulatedPanel::faultBox()
{
    auto *const box = new QGroupBox(tr("Fault of a function"));
    QFormLayout *const form = formIn(box);
    form->addRow(tr("F&unction:"), m_function);
    form->addRow(tr("&Result:"), m_result);
    form->addRow(tr("Dela&y:"), m_delay);
    form->addRow(tr("Eve&nt:"), m_faultEvent);
    for (const auto &[flag, text] : kFlags) {
        m_flags << new QCheckBox(tr(text));
        m_flags.constLast()->setObjectName(QLatin1String(text));
        form->addRow(m_flags.constLast());
    }
    form->addRow(button(tr("Se&t the fault"), tr("The fault is set."),
                        [this](const auto &control) { return setFault(control); }));
    form->addRow(
        button(tr("Clear the f&ault"), tr("The fault is cleared."), [this](const auto &control) {
            return control.setFault(m_function->currentText().toLatin1().constData(), nullptr);
        }));
    return box;
}

void EmulatedPanel::fill()
{
    const DeviceServiceLibrary *const library = m_session.deviceService();
    const DeviceServiceControl *const control = library ? library->control() : nullptr;
    setEnabled(control);
    if (!control || m_card->count() > 0)
        return;
    for (const auto &[name, about] : rowsOf(control->shippedCard)) {
        m_card->addItem(name, name);
        m_card->setItemData(m_card->count() - 1, about, Qt::ToolTipRole);
    }
    for (const auto &[field, kind] : rowsOf(control->cardField)) {
        m_field->addItem(field);
        m_field->setItemData(m_field->count() - 1, kind, Qt::ToolTipRole);
    }
    for (std::int32_t index = 0; const char *name = control->functionName(index); ++index)
        m_function->addItem(QLatin1String(name));
}

QPushButton *EmulatedPanel::button(const QString &text, const QString &done, const Action &action)
{
    auto *const made = new QPushButton(text);
    connect(made, &QPushButton::clicked, this, [this, done, action] { run(done, action); });
    return made;
}

void EmulatedPanel::run(const QString &done, const Action &action)
{
    const DeviceServiceLibrary *const library = m_session.deviceService();
    if (!library || !library->control())
        return;
    const DeviceServiceControl &control = *library->control();
    m_done->setText(
        action(control) == 0 ? done : m_session.advice(QString::fromUtf8(control.lastError())));
}

std::int32_t EmulatedPanel::use(const DeviceServiceControl &control)
{
    const std::int32_t loaded = m_session.deviceService()->loadCard(
        m_card->currentData().toString());
    if (loaded != 0)
        return loaded;
    const std::int32_t inserted = control.insert();
    if (inserted == 0)
        Q_EMIT m_session.cardStarted();
    return inserted;
}

std::int32_t EmulatedPanel::raise(const DeviceServiceControl &control)
{
    return control.raiseEvent(m_event->currentText().section(QLatin1Char(':'), 0, 0).toInt());
}

std::int32_t EmulatedPanel::setFault(const DeviceServiceControl &control)
{
    DevSrvFault fault{m_result->value(), m_delay->value(), m_faultEvent->value(), 0};
    for (qsizetype index = 0; index < m_flags.size(); ++index) {
        if (m_flags.at(index)->isChecked())
            fault.flags |= kFlags[index].flag;
    }
    return control.setFault(m_function->currentText().toLatin1().constData(), &fault);
}

void EmulatedPanel::browse()
{
    auto *const dialog = new QFileDialog(this, tr("Choose a card file"), QString(),
                                         tr("Card files (*.ini);;All files (*)"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::ExistingFile);
    connect(dialog, &QFileDialog::fileSelected, this, [this](const QString &file) {
        m_card->addItem(m_session.shown(file), file);
        m_card->setCurrentIndex(m_card->count() - 1);
    });
    dialog->open();
}
