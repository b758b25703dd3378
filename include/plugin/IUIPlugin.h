// SPDX-License-Identifier: MIT
#pragma once

#include "IBasePlugin.h"

class QRect;
class QWidget;

/// The interface of a plug-in that may have a window.
class IUIPlugin : public IBasePlugin
{
public:
    /// Shows the plug-in's window in `parent`, within `rect` (pixels). Does not take ownership.
    virtual int ShowWindow(QWidget *parent, QRect &rect) = 0;

    /// Runs the plug-in's dialog until it is closed.
    virtual int DoModal() = 0;

    /// Hides the plug-in's window.
    virtual void Hide() = 0;

    /// Moves the plug-in's window into `rect` (pixels).
    virtual void FitSize(QRect &rect) = 0;

    /// Returns true if the plug-in has a window to show.
    virtual bool IsReady() = 0;

    /// Changes the language of the window. Returns true if the plug-in accepted `language`.
    virtual bool ChangeLang(const QString &language) = 0;
};

Q_DECLARE_INTERFACE(IUIPlugin, "com.velmora.brisklane.plugin.IUIPlugin")
