// SPDX-License-Identifier: MIT
#pragma once

#include "IBasePlugin.h"

class QRect;
class QWidget;

/// What a dashboard asks of a plug-in that may have a window.
class IUIPlugin : public IBasePlugin
{
public:
    /// Shows the plug-in's window in `parent`, within `rect` (pixels). Neither changes hands.
    virtual int ShowWindow(QWidget *parent, QRect &rect) = 0;

    /// Runs the plug-in's dialog to its end.
    virtual int DoModal() = 0;

    virtual void Hide() = 0;

    /// Moves the plug-in's window into `rect` (pixels).
    virtual void FitSize(QRect &rect) = 0;

    /// Whether there is a window to be shown.
    virtual bool IsReady() = 0;

    /// Changes the language of the window. Returns whether `language` was taken.
    virtual bool ChangeLang(const QString &language) = 0;
};

Q_DECLARE_INTERFACE(IUIPlugin, "com.velmora.brisklane.plugin.IUIPlugin")
