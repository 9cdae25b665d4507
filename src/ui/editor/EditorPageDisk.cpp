// SPDX-License-Identifier: GPL-3.0-or-later
// How a page reads and saves, and what it asks about it.
#include "ui/editor/EditorPage.h"

#include "base/Json.h"
#include "files/Format.h"
#include "platform/AppPaths.h"
#include "ui/MessageBar.h"
#include "ui/editor/EditorStatusLine.h"
#include "ui/editor/EditorView.h"

#include <QFileDialog>

#include <utility>

namespace moorix {

using Standing = textFile::Standing;

void EditorPage::connectDocument()
{
    connect(m_document, &TextDocument::saved, this, &EditorPage::afterSave);
    connect(m_document, &TextDocument::saveRefused, this, [this](Standing standing) {
        sayStanding(standing);
        afterRefusal();
    });
    connect(m_document, &TextDocument::unencodable, this, [this](const QString &character, int line) {
        sayUnencodable(character, line);
        afterRefusal();
    });
    connect(m_document, &TextDocument::saveFailed, this, [this](const QString &sentence) {
        m_notice->offer(sentence, tr("Try again"), MessageBar::Tone::danger, [this] { write(m_target); });
        m_notice->addChoice({tr("Save as…"), [this] { chooseSaveAs(); }});
        afterRefusal();
    });
    connect(m_document, &TextDocument::standingChanged, this, [this] {
        if (m_document->standing() == Standing::same)
            m_notice->dismiss();
        else
            sayStanding(m_document->standing());
    });
    connect(m_document, &TextDocument::reloaded, this, [this](const LoadedText &loaded) {
        m_notice->dismiss();
        showManner(loaded);
        m_view->setReadOnly(false);
        // What was here can be had back by undoing.
        m_view->replaceContent(loaded.text);
        m_isElsewhere = false;
        m_view->markSaved();
        m_keepSoon.stop();
        m_document->forget();
        showProtection();
        emit titleChanged();
    });
    connect(m_document, &TextDocument::reloadFailed, this,
            [this](const QString &sentence) { m_notice->tell(sentence, MessageBar::Tone::danger); });
    connect(m_document, &TextDocument::keepFailed, this, [this](const QString &sentence) {
        // Once: it is tried again with all that is typed.
        if (std::exchange(m_keepProblem, sentence) != sentence)
            m_notice->tell(tr("What is not saved yet would be lost in a crash: %1").arg(sentence),
                           MessageBar::Tone::warning);
    });
}

void EditorPage::save()
{
    if (m_document->protection().reason.isEmpty())
        return write({});
    m_afterSave = {};
    showProtection();
}

/// One at a time.
void EditorPage::write(const Target &target)
{
    if (m_document->isSaving()) {
        m_nextTarget = target;
        return;
    }
    m_target = target;
    m_savedRevision = m_view->revision();
    if (target.path.isEmpty())
        m_document->save(m_view->content(), target.guard);
    else
        m_document->saveAs(m_view->content(), target.path);
}

void EditorPage::afterSave()
{
    const bool isCurrent = m_savedRevision == m_view->revision();
    m_isElsewhere = !isCurrent;
    if (isCurrent) {
        m_view->markSaved();
        m_keepSoon.stop();
        m_document->forget();
    }
    m_notice->dismiss();
    m_status->showEncoding(m_document->encoding());
    showProtection();
    emit titleChanged();
    emit messageRaised(tr("“%1” is saved.").arg(Format::display(title())));
    const std::optional<Target> next = std::exchange(m_nextTarget, {});
    // What was typed meanwhile is saved, too, before anything is closed.
    if (next && (!isCurrent || !next->path.isEmpty()))
        write(*next);
    else if (m_afterSave && !isCurrent)
        save();
    else if (m_afterSave)
        std::exchange(m_afterSave, {})();
}

/// Nothing was saved, so that nothing that waits for it is done, unless it goes elsewhere.
void EditorPage::afterRefusal()
{
    m_afterSave = {};
    // Undone meanwhile down to what is on the disk.
    if (!isModified())
        m_document->forget();
    const std::optional<Target> next = std::exchange(m_nextTarget, {});
    if (next && !next->path.isEmpty())
        write(*next);
}

void EditorPage::saveThen(std::function<void()> done)
{
    m_afterSave = std::move(done);
    save();
}

void EditorPage::chooseSaveAs()
{
    const QString folder = m_document->place().isEmpty() ? Format::parent(path()) : AppPaths::home();
    auto *dialog = new QFileDialog(this, tr("Save as"), folder);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->selectFile(title());
    connect(dialog, &QFileDialog::fileSelected, this, [this](const QString &chosen) { write({chosen}); });
    dialog->open();
}

void EditorPage::sayStanding(Standing standing)
{
    const QString name = Format::display(title());
    const auto keepMine = [this] { write({{}, TextDocument::Guard::anything}); };
    if (standing == Standing::gone) {
        m_notice->offer(tr("“%1” is no longer on the disk. Your text is kept here.").arg(name), tr("Save it again"),
                        MessageBar::Tone::warning, keepMine);
        m_notice->addChoice({tr("Save as…"), [this] { chooseSaveAs(); }});
        return;
    }
    const QString sentence = isModified() ? tr("“%1” was changed by another program, and here, too.").arg(name)
                                          : tr("“%1” was changed by another program.").arg(name);
    m_notice->offer(sentence, tr("Keep mine"), MessageBar::Tone::warning, keepMine);
    m_notice->addChoice({tr("Compare"), [this] { compare(); }});
    m_notice->addChoice({tr("Reload"), [this] { m_document->reload(std::nullopt); }});
}

void EditorPage::sayUnencodable(const QString &character, int line)
{
    m_notice->offer(tr("Nothing was saved: %1 has no “%2”, which is in line %3.")
                        .arg(nameOf(m_document->encoding()), Format::display(character))
                        .arg(line),
                    tr("Save in UTF-8"), MessageBar::Tone::warning, [this] {
                        m_document->setEncoding(TextEncoding::utf8);
                        m_status->showEncoding(TextEncoding::utf8);
                        write(m_target);
                    });
    m_notice->addChoice({tr("Show it"), [this, line] {
                             m_view->goTo(line, 1);
                             focusContent();
                         }});
}

void EditorPage::askToReload(std::optional<TextEncoding> encoding)
{
    if (!isModified()) {
        m_document->reload(encoding);
        return;
    }
    m_notice->ask(tr("“%1” has changes that are not saved. Read it again without them?").arg(Format::display(title())),
                  tr("Discard changes"), MessageBar::Tone::warning, [this, encoding] { m_document->reload(encoding); });
}

/// The text is compared where it is kept for the case of a crash.
void EditorPage::compare()
{
    m_keepSoon.stop();
    m_keepProblem.clear();
    m_document->keep(m_view->content(), [this](const QString &textPath) {
        Comparison comparison;
        comparison.pair.id = newUuid();
        comparison.pair.a.name = title();
        comparison.pair.a.path = path();
        comparison.pair.b.name = tr("Your text");
        comparison.pair.b.path = textPath;
        comparison.pair.leftService = m_disk;
        comparison.pair.rightService = m_disk;
        comparison.isRightFixed = true;
        // The question is there again when the user comes back.
        sayStanding(m_document->standing());
        emit comparisonRequested(comparison);
    });
}

void EditorPage::keep()
{
    if (isModified())
        m_document->keep(m_view->content(), [this](const QString &) { m_keepProblem.clear(); });
}

QString EditorPage::keepNow()
{
    m_keepSoon.stop();
    if (isModified())
        return m_document->keepNow(m_view->content());
    // It may have been kept for a comparison.
    m_document->forget();
    return {};
}

void EditorPage::restore(const RecoveryCopies::Found &found, const QByteArray &text)
{
    m_document->adopt(found);
    m_status->showEncoding(found.record.encoding);
    showFile();
    if (text == m_view->content()) {
        m_document->forget();
        return;
    }
    m_view->setReadOnly(false);
    m_view->replaceContent(text);
    followLineEnds();
    m_notice->tell(tr("Changes of %1 that were never saved are here again. Undo shows the file without them.")
                       .arg(Format::date(found.written)),
                   MessageBar::Tone::information);
}

void EditorPage::askToClose()
{
    if (!isModified()) {
        // It may have been kept for a comparison.
        m_document->forget();
        emit closed();
        return;
    }
    m_notice->ask(tr("“%1” has changes that are not saved.").arg(Format::display(title())), tr("Close without saving"),
                  MessageBar::Tone::warning,
                  [this] {
                      m_keepSoon.stop();
                      m_document->forget();
                      emit closed();
                  },
                  {tr("Save and close"), [this] { saveThen([this] { emit closed(); }); }});
}

} // namespace moorix
