// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/SpeedLimitButton.h"

#include "files/Format.h"
#include "settings/SettingsStore.h"
#include "ui/Widgets.h"

#include <QMenu>

namespace moorix {

namespace {

QString rate(qint64 kilobytes)
{
    return SpeedLimitButton::tr("%1/s").arg(Format::byteCount(kilobytes * 1000));
}

} // namespace

SpeedLimitButton::SpeedLimitButton(SettingsStore &settings, QWidget *parent)
    : QToolButton(parent)
    , m_settings(settings)
{
    setObjectName(QStringLiteral("speedLimit"));
    setToolTip(Widgets::toolTip(tr("Speed of transfers to and from servers. Small files under way keep theirs.")));
    setPopupMode(InstantPopup);
    // While there is a limit it looks pressed.
    setCheckable(true);
    setMenu(new QMenu(this));
    connect(menu(), &QMenu::aboutToShow, this, &SpeedLimitButton::fillMenu);
    connect(&settings, &SettingsStore::settingChanged, this, &SpeedLimitButton::refresh);
    refresh();
}

void SpeedLimitButton::refresh()
{
    const bool isLimited = m_settings.limitTransferSpeed.value();
    setChecked(isLimited);
    setText(isLimited ? tr("At most %1").arg(rate(m_settings.transferSpeedLimit.value())) : tr("No speed limit"));
}

void SpeedLimitButton::fillMenu()
{
    menu()->clear();
    const qint64 limit = m_settings.transferSpeedLimit.value();
    QAction *isOn = menu()->addAction(tr("Limit to %1").arg(rate(limit)), this,
                                      [this](bool isLimited) { m_settings.limitTransferSpeed.set(isLimited); });
    isOn->setCheckable(true);
    isOn->setChecked(m_settings.limitTransferSpeed.value());
    menu()->addSeparator();
    for (const qint64 kilobytes : {100, 250, 500, 1000, 2000, 5000, 10'000}) {
        if (kilobytes == limit)
            continue;
        menu()->addAction(rate(kilobytes), this, [this, kilobytes] {
            m_settings.transferSpeedLimit.set(kilobytes);
            m_settings.limitTransferSpeed.set(true);
        });
    }
}

} // namespace moorix
