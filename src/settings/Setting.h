// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <optional>
#include <utility>

namespace moorix {

class SettingsStore;

/// One typed preference (text, switch, number) of a SettingsStore. Main thread.
template<class Value>
class Setting final
{
public:
    Setting(SettingsStore &store, const char *key, Value fallBack);
    /// Numbers outside the bounds are moved to the nearer bound, when set and when read.
    Setting(SettingsStore &store, const char *key, Value fallBack, Value minimum, Value maximum);

    const QString &key() const { return m_key; }
    const Value &value() const { return m_value; }
    const Value &fallBack() const { return m_fallBack; }
    /// Stores the value, tells observers and sends it to the cloud. No change, no effect.
    void set(const Value &value);

private:
    SettingsStore &m_store;
    QString m_key;
    Value m_fallBack;
    Value m_value;
    std::optional<std::pair<Value, Value>> m_bounds;
};

} // namespace moorix
