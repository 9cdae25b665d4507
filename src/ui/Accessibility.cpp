// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/Accessibility.h"

#include <QFormLayout>
#include <QLabel>
#include <QSplitter>

namespace moorix::Accessibility {

namespace {

bool isField(const QWidget &widget)
{
    for (const char *kind : {"QLineEdit", "QPlainTextEdit", "QAbstractSpinBox", "QComboBox"}) {
        if (widget.inherits(kind))
            return true;
    }
    return false;
}

void collectWidgets(QLayoutItem &item, QWidgetList &widgets)
{
    if (QWidget *widget = item.widget())
        widgets << widget << widget->findChildren<QWidget *>();
    const QLayout *layout = item.layout();
    for (int part = 0; layout && part < layout->count(); ++part)
        collectWidgets(*layout->itemAt(part), widgets);
}

} // namespace

void nameFields(const QWidget &page)
{
    for (const QFormLayout *form : page.findChildren<QFormLayout *>()) {
        for (int row = 0; row < form->rowCount(); ++row) {
            const QLayoutItem *title = form->itemAt(row, QFormLayout::LabelRole);
            const auto *label = title ? qobject_cast<QLabel *>(title->widget()) : nullptr;
            QWidgetList widgets;
            if (QLayoutItem *field = form->itemAt(row, QFormLayout::FieldRole); field && label)
                collectWidgets(*field, widgets);
            for (QWidget *widget : std::as_const(widgets)) {
                if (isField(*widget) && widget->accessibleName().isEmpty())
                    widget->setAccessibleName(label->text());
            }
        }
    }
}

void readInOrder(const QSplitter &splitter)
{
    for (int part = splitter.count() - 1; part >= 0; --part)
        splitter.widget(part)->lower();
}

} // namespace moorix::Accessibility
