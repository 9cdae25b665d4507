// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/Setting.h"

#include "platform/Preferences.h"
#include "settings/SettingsStore.h"

#include <algorithm>
#include <cmath>
#include <type_traits>

namespace moorix {

namespace {

/// The value when `json` has exactly this type. JSON tells no whole numbers from others; 2.5 is no integer, 2 is a
/// double as well.
template <class Value>
std::optional<Value> typed(const QJsonValue &json)
{
    if constexpr (std::is_same_v<Value, QString>) {
        if (json.isString())
            return json.toString();
    } else if constexpr (std::is_same_v<Value, bool>) {
        if (json.isBool())
            return json.toBool();
    } else if constexpr (std::is_same_v<Value, double>) {
        if (json.isDouble())
            return json.toDouble();
    } else {
        // Two different fall-backs tell a number that has no exact integer from one that equals the fall-back.
        if (json.isDouble() && json.toInteger(0) == json.toInteger(1))
            return json.toInteger();
    }
    return std::nullopt;
}

} // namespace

AnySetting::AnySetting(SettingsStore &store, const char *key)
    : m_store(store)
    , m_key(QString::fromLatin1(key))
{
    m_store.m_settings.push_back(this);
}

QJsonValue AnySetting::storedValue() const
{
    return m_store.m_defaults.value(m_key);
}

void AnySetting::announceChange()
{
    m_store.publish(*this);
}

template <class Value>
Setting<Value>::Setting(SettingsStore &store, const char *key, Value fallBack)
    : AnySetting(store, key)
    , m_fallBack(std::move(fallBack))
    , m_value(typed<Value>(storedValue()).value_or(m_fallBack))
{
}

template <class Value>
Setting<Value>::Setting(SettingsStore &store, const char *key, Value fallBack, Value minimum, Value maximum)
    : Setting(store, key, std::move(fallBack))
{
    m_bounds.emplace(std::move(minimum), std::move(maximum));
    assign(Value(m_value));
}

template <class Value>
void Setting<Value>::set(const Value &value)
{
    if (assign(value))
        announceChange();
}

template <class Value>
bool Setting<Value>::take(const QJsonValue &json)
{
    const std::optional<Value> value = typed<Value>(json);
    return value && assign(*value);
}

template <class Value>
bool Setting<Value>::assign(const Value &value)
{
    if constexpr (std::is_same_v<Value, double>) {
        // Not a number has no place between the bounds and no JSON text.
        if (std::isnan(value))
            return false;
    }
    Value bounded = m_bounds ? std::clamp(value, m_bounds->first, m_bounds->second) : value;
    if (bounded == m_value)
        return false;
    m_value = std::move(bounded);
    return true;
}

template class Setting<QString>;
template class Setting<bool>;
template class Setting<double>;
template class Setting<qint64>;

} // namespace moorix
