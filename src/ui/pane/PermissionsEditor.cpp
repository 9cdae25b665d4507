// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/pane/PermissionsEditor.h"

#include "ui/Widgets.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QRegularExpressionValidator>
#include <QSignalBlocker>

using namespace Qt::StringLiterals;

namespace moorix {

PermissionsEditor::PermissionsEditor(QWidget *parent)
    : QWidget(parent)
    , m_number(new QLineEdit(this))
{
    auto *grid = new QGridLayout(this);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setHorizontalSpacing(18);
    grid->setVerticalSpacing(6);
    const QStringList kinds{tr("Read"), tr("Write"), tr("Execute")};
    const QStringList classes{tr("Owner"), tr("Group"), tr("Others")};
    for (int column = 0; column < 3; ++column)
        grid->addWidget(Widgets::label(kinds.at(column), Widgets::TextRole::muted, this), 0, column + 1);
    for (int row = 0; row < 3; ++row) {
        grid->addWidget(Widgets::label(classes.at(row), Widgets::TextRole::muted, this), row + 1, 0);
        for (int column = 0; column < 3; ++column) {
            auto *box = new QCheckBox(this);
            box->setObjectName(u"permission%1"_s.arg(row * 3 + column));
            box->setAccessibleName(u"%1: %2"_s.arg(classes.at(row), kinds.at(column)));
            connect(box, &QCheckBox::clicked, this, &PermissionsEditor::takeBoxes);
            grid->addWidget(box, row + 1, column + 1);
            m_boxes.at(std::size_t(row * 3 + column)) = box;
        }
    }
    m_number->setObjectName(u"permissionsOctal"_s);
    m_number->setAccessibleName(tr("Permissions as an octal number"));
    m_number->setMaximumWidth(80);
    m_number->setValidator(new QRegularExpressionValidator(QRegularExpression(u"[0-7]{0,4}"_s), m_number));
    grid->addWidget(Widgets::label(tr("Octal"), Widgets::TextRole::muted, this), 4, 0);
    grid->addWidget(m_number, 4, 1, 1, 3);
    grid->setColumnStretch(4, 1);
    connect(m_number, &QLineEdit::textChanged, this, &PermissionsEditor::takeNumber);
}

void PermissionsEditor::setPermissions(const std::optional<QString> &permissions)
{
    m_specialDigit.clear();
    if (!permissions || permissions->size() != 9) {
        m_number->clear();
        return;
    }
    int mode = 0;
    for (const QChar letter : *permissions)
        mode = mode * 2 + (letter == u'-' ? 0 : 1);
    m_number->setText(QString::number(mode, 8).rightJustified(3, u'0'));
}

std::optional<QString> PermissionsEditor::octal() const
{
    if (m_number->text().size() < 3)
        return std::nullopt;
    return m_number->text();
}

void PermissionsEditor::takeBoxes()
{
    int mode = 0;
    for (const QCheckBox *box : m_boxes)
        mode = mode * 2 + (box->isChecked() ? 1 : 0);
    m_number->setText(m_specialDigit + QString::number(mode, 8).rightJustified(3, u'0'));
}

void PermissionsEditor::takeNumber()
{
    const QString digits = m_number->text();
    m_specialDigit = digits.size() == 4 ? digits.left(1) : QString();
    const int mode = digits.right(3).toInt(nullptr, 8);
    for (std::size_t i = 0; i < m_boxes.size(); ++i) {
        const QSignalBlocker blocker(m_boxes.at(i));
        m_boxes.at(i)->setChecked(octal() && (mode & (1 << (8 - int(i)))));
    }
    emit changed();
}

} // namespace moorix
