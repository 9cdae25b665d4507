// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/compare/DiffSideCard.h"

#include "files/Format.h"
#include "ui/ElidedLabel.h"
#include "ui/Theme.h"
#include "ui/Widgets.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace moorix {

namespace {

QString factsOf(const FileItem &file)
{
    QStringList facts{Format::byteCount(file.size)};
    if (file.modified)
        facts << Format::date(file.modified);
    return facts.join(QStringLiteral(" · "));
}

QString factsOf(const DiffContent::Side &side)
{
    QStringList facts{factsOf(side.file)};
    if (side.encoding)
        facts << nameOf(*side.encoding);
    if (side.text.lineEnds() != DiffLineEnds::none)
        facts << nameOf(side.text.lineEnds());
    return facts.join(QStringLiteral(" · "));
}

} // namespace

DiffSideCard::DiffSideCard(DiffSide side, const QString &place, const FileItem &file, QWidget *parent)
    : QFrame(parent)
    , m_facts(new ElidedLabel(Qt::ElideRight, this))
    , m_mark(new QLabel(this))
{
    const QString name = side == DiffSide::left ? QStringLiteral("diffLeft") : QStringLiteral("diffRight");
    setProperty("role", QStringLiteral("card"));
    auto *sign = new QLabel(this);
    const QString iconName = place.isEmpty() ? QStringLiteral("computer") : QStringLiteral("network-server");
    sign->setPixmap(Theme::icon(iconName, Theme::Color::accent).pixmap(QSize(16, 16), devicePixelRatioF()));
    auto *where = new ElidedLabel(Qt::ElideMiddle, this);
    where->setText(place.isEmpty() ? Format::display(file.path)
                                   : tr("%1: %2").arg(Format::display(place), Format::display(file.path)));
    m_facts->setObjectName(name + QStringLiteral("Facts"));
    m_facts->setProperty("role", QStringLiteral("muted"));
    m_facts->setText(factsOf(file));
    m_mark->setObjectName(name + QStringLiteral("Changed"));
    m_mark->setProperty("tone", QStringLiteral("warning"));
    m_save = Widgets::primaryButton(tr("Save"), name + QStringLiteral("Save"), this);
    m_save->setToolTip(tr("Write the changes to the file (Ctrl+S)"));
    auto *words = new QVBoxLayout;
    words->setSpacing(1);
    words->addWidget(where);
    words->addWidget(m_facts);
    auto *line = new QHBoxLayout(this);
    line->setContentsMargins(10, 6, 10, 6);
    line->setSpacing(10);
    line->addWidget(sign);
    line->addLayout(words, 1);
    line->addWidget(m_mark);
    line->addWidget(m_save);
    connect(m_save, &QPushButton::clicked, this, &DiffSideCard::saveRequested);
    showState();
}

void DiffSideCard::showFile(const DiffContent::Side &side)
{
    m_facts->setText(factsOf(side));
}

void DiffSideCard::setChanged(bool isChanged)
{
    m_isChanged = isChanged;
    showState();
}

void DiffSideCard::setSaving(bool isSaving)
{
    m_isSaving = isSaving;
    showState();
}

void DiffSideCard::showState()
{
    m_mark->setText(m_isSaving ? tr("Saving…") : tr("● Not saved"));
    m_mark->setVisible(m_isChanged || m_isSaving);
    m_save->setVisible(m_isChanged);
    m_save->setEnabled(!m_isSaving);
}

} // namespace moorix
