// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QToolButton>

namespace moorix {

class SettingsStore;

/// Shows whether the speed of transfers is limited, and to what; its menu turns the limit on and off and changes it.
class SpeedLimitButton final : public QToolButton
{
    Q_OBJECT

public:
    explicit SpeedLimitButton(SettingsStore &settings, QWidget *parent = nullptr);

private:
    void refresh();
    void fillMenu();

    SettingsStore &m_settings;
};

} // namespace moorix
