// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/dialogs/AboutDialog.h"

#include "app/ProgramInfo.h"
#include "ui/Widgets.h"

#include <QApplication>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace moorix {

namespace {

struct Part
{
    QString name;
    QString purpose;
    QString licence;
};

QList<Part> parts()
{
    return {
        {QStringLiteral("Qt %1").arg(QString::fromLatin1(qVersion())), AboutDialog::tr("window, text, files"),
         AboutDialog::tr("LGPL-3.0")},
        {QStringLiteral("OpenSSH"), AboutDialog::tr("all remote access, as programs of the system"),
         AboutDialog::tr("BSD")},
        {QStringLiteral("libsecret"), AboutDialog::tr("the desktop’s keychain"), AboutDialog::tr("LGPL-2.1")},
        {QStringLiteral("Breeze"), AboutDialog::tr("icons"), AboutDialog::tr("LGPL-3.0")},
        {QStringLiteral("Inter, JetBrains Mono"), AboutDialog::tr("type"), AboutDialog::tr("OFL-1.1")},
    };
}

} // namespace

AboutDialog::AboutDialog(QWidget *parent)
    : QDialog(parent)
{
    setObjectName(QStringLiteral("aboutDialog"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(tr("About Moorix"));
    auto *icon = new QLabel(this);
    icon->setPixmap(QApplication::windowIcon().pixmap(QSize(64, 64), devicePixelRatioF()));
    icon->setVisible(!icon->pixmap().isNull());
    QLabel *name = Widgets::label(tr("Moorix %1").arg(ProgramInfo::version()), Widgets::TextRole::headline, this);
    name->setObjectName(QStringLiteral("aboutVersion"));
    name->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto *head = new QVBoxLayout;
    head->addWidget(name);
    head->addWidget(Widgets::label(tr("File manager and server workbench"), Widgets::TextRole::muted, this));
    auto *top = new QHBoxLayout;
    top->setSpacing(16);
    top->addWidget(icon);
    top->addLayout(head, 1);

    auto *table = new QGridLayout;
    table->setHorizontalSpacing(20);
    table->setVerticalSpacing(5);
    int line = 0;
    for (const Part &part : parts()) {
        table->addWidget(new QLabel(part.name, this), line, 0);
        QLabel *purpose = Widgets::label(part.purpose, Widgets::TextRole::muted, this);
        QLabel *licence = Widgets::label(part.licence, Widgets::TextRole::muted, this);
        for (QLabel *text : {purpose, licence})
            text->setWordWrap(false);
        table->addWidget(purpose, line, 1);
        table->addWidget(licence, line++, 2);
    }
    table->setColumnStretch(1, 1);
    QPushButton *close = Widgets::primaryButton(tr("Close"), QStringLiteral("closeAbout"), this);
    close->setDefault(true);
    connect(close, &QPushButton::clicked, this, &QDialog::close);

    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(24, 22, 24, 20);
    column->setSpacing(16);
    column->addLayout(top);
    column->addWidget(Widgets::label(tr("Free software under the GNU General Public License, version 3 or later. It "
                                        "comes without any warranty."),
                                     Widgets::TextRole::body, this));
    column->addWidget(Widgets::separator(this));
    column->addLayout(table);
    column->addWidget(close, 0, Qt::AlignRight);
    setMinimumWidth(500);
    layout()->setSizeConstraint(QLayout::SetFixedSize);
}

} // namespace moorix
