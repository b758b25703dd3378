// SPDX-License-Identifier: MIT
#pragma once

#include <QTreeWidget>

class IUIPlugin;
class Session;

/// Calls the functions of the plug-in's interface with a window, with a real widget and rectangle,
/// and shows what they answer and whether they changed anything in the window.
class InterfacePage : public QWidget
{
    Q_OBJECT

public:
    /// The session must live longer than this object. `language` is that of the window, as the
    /// plug-in takes it.
    InterfacePage(Session &session, const QString &language);

    /// Makes all calls, if the plug-in is loaded.
    void callAll();

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    Session &m_session;
    const QString m_language;
    QTreeWidget *const m_calls;
    QWidget *const m_area; // for the plug-in's window
};
