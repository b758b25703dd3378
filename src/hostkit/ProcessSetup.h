// SPDX-License-Identifier: MIT
#pragma once

/// Prepares the process for the libraries; a host calls it first in main(). Opens standard streams
/// that are closed, lets a file that must not grow fail instead of ending the program, and makes
/// the order in which the plug-in writes attributes the same in each run.
void prepareProcess();
