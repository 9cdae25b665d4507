// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/preferences/PreferenceControl.h"

#include "platform/AppPaths.h"
#include "ui/CheckBox.h"
#include "ui/ComboBox.h"
#include "ui/Widgets.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFileDialog>
#include <QFontComboBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalBlocker>
#include <QToolButton>

namespace moorix {

PreferenceControl::PreferenceControl(const PreferenceRow &row, QWidget *parent)
    : QWidget(parent)
    , m_row(row)
    , m_reset(Widgets::iconButton(QStringLiteral("edit-undo"), tr("Back to the default"),
                                  QStringLiteral("reset_%1").arg(row.key), this))
{
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    addInput(*layout);
    // Its place stays when it hides, so that nothing jumps.
    QSizePolicy keepsPlace = m_reset->sizePolicy();
    keepsPlace.setRetainSizeWhenHidden(true);
    m_reset->setSizePolicy(keepsPlace);
    layout->addWidget(m_reset);
    connect(m_reset, &QToolButton::clicked, this, [this] { store(m_row.fallBack); });
    refresh();
}

void PreferenceControl::refresh()
{
    m_show(m_row.value());
    m_reset->setVisible(m_row.value() != m_row.fallBack);
}

void PreferenceControl::store(const QVariant &value)
{
    m_row.set(value);
    refresh();
    emit changed();
}

void PreferenceControl::addInput(QHBoxLayout &layout)
{
    QWidget *input = nullptr;
    switch (m_row.kind) {
    case PreferenceRow::Kind::toggle:
        input = makeToggle();
        break;
    case PreferenceRow::Kind::number:
        input = makeNumber();
        break;
    case PreferenceRow::Kind::choice:
        input = makeChoice();
        break;
    case PreferenceRow::Kind::font:
        input = makeFont();
        break;
    case PreferenceRow::Kind::text:
        input = makeText();
        break;
    case PreferenceRow::Kind::folder:
        input = makeFolder();
        break;
    }
    input->setAccessibleName(m_row.label);
    const bool isWide = m_row.kind == PreferenceRow::Kind::text || m_row.kind == PreferenceRow::Kind::folder;
    layout.addWidget(input, isWide ? 1 : 0);
    if (!isWide)
        layout.addStretch(1);
}

QWidget *PreferenceControl::makeToggle()
{
    auto *box = new CheckBox(this);
    box->setObjectName(m_row.key);
    m_show = [box](const QVariant &value) {
        const QSignalBlocker blocker(box);
        box->setChecked(value.toBool());
    };
    connect(box, &QCheckBox::toggled, this, [this](bool on) { store(on); });
    return box;
}

QWidget *PreferenceControl::makeNumber()
{
    auto *box = new QDoubleSpinBox(this);
    box->setObjectName(m_row.key);
    box->setDecimals(0);
    box->setButtonSymbols(QAbstractSpinBox::NoButtons);
    box->setRange(m_row.minimum, m_row.maximum);
    box->setSuffix(m_row.unit);
    box->setMinimumWidth(96);
    // A number half typed must not resize the window under the user's hands.
    box->setKeyboardTracking(false);
    m_show = [box](const QVariant &value) {
        const QSignalBlocker blocker(box);
        box->setValue(value.toDouble());
    };
    connect(box, &QDoubleSpinBox::valueChanged, this, [this](double number) { store(number); });
    return box;
}

QWidget *PreferenceControl::makeChoice()
{
    auto *box = new ComboBox(this);
    box->setObjectName(m_row.key);
    for (const auto &[value, name] : std::as_const(m_row.choices))
        box->addItem(name, value);
    m_show = [box](const QVariant &value) {
        const QSignalBlocker blocker(box);
        box->setCurrentIndex(box->findData(value));
    };
    connect(box, &QComboBox::activated, this, [this, box] { store(box->currentData()); });
    return box;
}

QWidget *PreferenceControl::makeFont()
{
    auto *box = new FontComboBox(this);
    box->setObjectName(m_row.key);
    box->setFontFilters(QFontComboBox::MonospacedFonts);
    m_show = [box](const QVariant &value) {
        const QSignalBlocker blocker(box);
        box->setEditText(value.toString());
    };
    connect(box, &QComboBox::textActivated, this, [this](const QString &family) { store(family); });
    return box;
}

QWidget *PreferenceControl::makeText()
{
    auto *field = new QLineEdit(this);
    field->setObjectName(m_row.key);
    field->setAccessibleName(m_row.label);
    field->setPlaceholderText(m_row.placeholder);
    m_show = [field](const QVariant &value) {
        if (field->text() != value.toString())
            field->setText(value.toString());
    };
    connect(field, &QLineEdit::editingFinished, this, [this, field] {
        if (field->text() != m_row.value().toString())
            store(field->text());
    });
    return field;
}

QWidget *PreferenceControl::makeFolder()
{
    auto *holder = new QWidget(this);
    auto *row = new QHBoxLayout(holder);
    row->setContentsMargins(0, 0, 0, 0);
    QPushButton *choose = Widgets::button(tr("Choose…"), QStringLiteral("choose_%1").arg(m_row.key), holder);
    row->addWidget(makeText(), 1);
    row->addWidget(choose);
    connect(choose, &QPushButton::clicked, this, [this] {
        auto *dialog = new QFileDialog(this, m_row.label, AppPaths::expandTilde(m_row.value().toString()));
        dialog->setAttribute(Qt::WA_DeleteOnClose);
        dialog->setFileMode(QFileDialog::Directory);
        connect(dialog, &QFileDialog::fileSelected, this, [this](const QString &path) { store(path); });
        dialog->open();
    });
    return holder;
}

} // namespace moorix
