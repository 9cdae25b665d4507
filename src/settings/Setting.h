// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QJsonValue>
#include <QString>

#include <optional>
#include <utility>

namespace moorix {

class SettingsStore;

/// What the store needs to know of a setting whatever its type. Main thread.
class AnySetting
{
public:
    virtual ~AnySetting() = default;
    Q_DISABLE_COPY_MOVE(AnySetting)

    /// The key it is stored under: the name of the field.
    const QString &key() const { return m_key; }
    virtual QJsonValue toJson() const = 0;

protected:
    /// Adds the setting to the store's table.
    AnySetting(SettingsStore &store, const char *key);
    QJsonValue storedValue() const;
    /// Stores and mirrors the value and tells observers.
    void announceChange();

private:
    friend class SettingsStore;
    /// Takes a value of the right type over, within the bounds. Returns whether the setting changed. Tells nobody.
    virtual bool take(const QJsonValue &json) = 0;

    SettingsStore &m_store;
    QString m_key;
};

/// One typed preference (text, switch, number) of a SettingsStore. Reads its stored value when it is made: a value that
/// is absent or of another type counts as the default. Main thread.
template <class Value>
class Setting final : public AnySetting
{
public:
    Setting(SettingsStore &store, const char *key, Value fallBack);
    /// Numbers outside the bounds are moved to the nearer bound, when set and when read.
    Setting(SettingsStore &store, const char *key, Value fallBack, Value minimum, Value maximum);

    const Value &value() const { return m_value; }
    const Value &fallBack() const { return m_fallBack; }
    /// Stores the value, tells observers and sends it to the cloud. No change, no effect.
    void set(const Value &value);
    QJsonValue toJson() const override { return QJsonValue(m_value); }

private:
    bool take(const QJsonValue &json) override;
    bool assign(const Value &value);

    Value m_fallBack;
    Value m_value;
    std::optional<std::pair<Value, Value>> m_bounds;
};

extern template class Setting<QString>;
extern template class Setting<bool>;
extern template class Setting<double>;
extern template class Setting<qint64>;

} // namespace moorix
