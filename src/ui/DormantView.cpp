// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/DormantView.h"

#include "app/Session.h"
#include "files/Format.h"
#include "ui/Widgets.h"
#include "ui/servers/ServerLook.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace moorix {

DormantView::DormantView(Session &session, QWidget *parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("dormantView"));
    QLabel *title = Widgets::label(tr("Not connected to %1").arg(session.title()), Widgets::TextRole::headline, this);
    // The folder to be opened stands in the place of the record's own.
    ServerConnection place = *session.server();
    if (!session.folder().isEmpty())
        place.remotePath = session.folder();
    QLabel *where = Widgets::label(Format::display(ServerLook::address(place)), Widgets::TextRole::muted, this);
    QPushButton *connectButton = Widgets::primaryButton(tr("Connect"), QStringLiteral("connectDormant"), this);
    connectButton->setAutoDefault(true);
    auto *column = new QVBoxLayout(this);
    column->setSpacing(10);
    column->addStretch(2);
    for (QLabel *label : {title, where}) {
        label->setAlignment(Qt::AlignCenter);
        column->addWidget(label);
    }
    column->addSpacing(6);
    column->addWidget(connectButton, 0, Qt::AlignCenter);
    column->addStretch(3);
    setFocusProxy(connectButton);
    connect(connectButton, &QPushButton::clicked, &session, &Session::retry);
}

} // namespace moorix
