// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <string>

/// A source of values for the report.
///
/// A key names an item ("Device_IMEI"), its value is text; a value that could not be read is
/// there and empty. A collector takes no lock: whoever calls it sees to it that two calls of
/// SetData() on one object never overlap.
class ICollection
{
public:
    /// Collects now and stores each value in `data` under its key, over the value that was there.
    /// Other entries of `data` stay as they are. Blocks for as long as the sources take.
    virtual void SetData(std::map<std::string, std::string> &data) = 0;

    /// A copy of the collector's own map.
    virtual std::map<std::string, std::string> GetData() = 0;

protected:
    // Not virtual: the table of virtual functions has two slots, and nobody deletes a collector
    // through this interface.
    ~ICollection() = default;
};
