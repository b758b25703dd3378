// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <string>

/// A source of values for the report.
///
/// A key names an item ("Device_IMEI"), and its value is a text, which is empty if it could not be
/// read. A collector takes no lock: the caller ensures that two calls of SetData() on one object
/// never overlap.
class ICollection
{
public:
    /// Collects the values and stores each in `data` under its key, replacing an earlier value.
    /// Does not change other entries of `data`. Blocks until the sources have answered.
    virtual void SetData(std::map<std::string, std::string> &data) = 0;

    /// Returns a copy of the collector's own map.
    virtual std::map<std::string, std::string> GetData() = 0;

protected:
    // Not virtual, since the table of virtual functions has only two slots. A collector is never
    // deleted through this interface.
    ~ICollection() = default;
};
