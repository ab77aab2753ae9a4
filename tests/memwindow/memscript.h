// A memory window that is driven by a script, so that a case of a table is a line.
#pragma once

#include "memtestwindow.h"

/// Steps are separated by "; ", and what one is answered stands behind it: "base? -> @30".
/// Addresses are hexadecimal, @34 is 0x34 behind kBase; ADDRESS.DIGIT is a digit of a byte,
/// ADDRESS.t its character. Keys are written as in "Ctrl+Home" and go to the widget with the focus;
/// those of "type" are themselves, but for < Backspace, > Delete, = Return. A text's "_" is a
/// blank.
struct MemScript : MemTestWindow {
    QSignalSpy failed{&window, &CHexEditor::CommandFailed};

    /// Goes through the steps, whatever they are answered.
    void Run(const QString &steps)
    {
        for (const QString &step : steps.split("; "))
            Do(step);
    }
    /// @return the step with what it is answered now
    QString Do(const QString &answered)
    {
        const QString step = answered.section(" ->", 0, 0);
        const QString verb = step.section(u' ', 0, 0);
        m_rest = step.section(u' ', 1);
        m_words = m_rest.split(u' ', Qt::SkipEmptyParts);
        m_answers.clear();
        if (const auto action = m_actions.find(verb); action != m_actions.end())
            action->second();
        else if (const auto question = m_questions.find(verb); question != m_questions.end())
            m_answers << question->second();
        else
            m_answers << "no such step";
        const QString answer = m_answers.join(u'|').replace(u'\n', "\\n");
        return m_answers.isEmpty() ? step : (step + " -> " + answer).trimmed();
    }
    /// "address+length" of each read since the last look.
    QString TakeReads()
    {
        QStringList reads;
        for (const FakeTarget::Call &call : std::exchange(target.reads, {}))
            reads << HexText(call.address) + u'+' + HexText(call.length) + How(call);
        return reads.join(u' ');
    }

private:
    using Doing = std::function<void()>;
    using Question = std::function<QString()>;

    std::uint64_t Number(int word) const
    {
        const QString digits = m_words.value(word).section(u'.', 0, 0);
        return digits.startsWith(u'@') ? kBase + digits.mid(1).toULongLong(nullptr, 16)
                                       : digits.toULongLong(nullptr, 16);
    }
    int Digit() const
    {
        const QString digit = m_words.value(0).section(u'.', 1);
        return digit == u't' ? -1 : digit.toInt();
    }
    std::pair<Qt::Key, Qt::KeyboardModifiers> KeyOf() const
    {
        if (m_rest == "Shift")
            return {Qt::Key_Shift, Qt::ShiftModifier};
        const QKeyCombination keys = QKeySequence(m_rest)[0];
        return {keys.key(), keys.keyboardModifiers()};
    }
    void SendKey(void (*send)(QWidget *, Qt::Key, Qt::KeyboardModifiers, int))
    {
        const auto [key, modifiers] = KeyOf();
        send(QApplication::focusWidget(), key, modifiers, -1);
    }
    void Repeat()
    {
        for (const auto type : {QEvent::KeyRelease, QEvent::KeyPress}) {
            QKeyEvent repeated(type, KeyOf().first, {}, {}, true);
            QApplication::sendEvent(view, &repeated);
        }
    }
    void Type() const
    {
        for (const QChar character : m_rest) {
            const auto special = QStringView(u"<>=").indexOf(character);
            const int key = special < 0 ? int(character.toUpper().unicode())
                                        : std::array{Qt::Key_Backspace, Qt::Key_Delete,
                                            Qt::Key_Return}[std::size_t(special)];
            QKeyEvent press(
                QEvent::KeyPress, key, {}, special < 0 ? QString(character) : QString());
            QApplication::sendEvent(QApplication::focusWidget(), &press);
        }
    }
    void MouseAt(QEvent::Type type)
    {
        m_pointer = m_words.value(0) == "by" ? m_pointer + QPoint(m_words.value(1).toInt(), 0)
                                             : ByteCentre(Number(0), Digit());
        Mouse(type, m_pointer, m_words.value(1) == "Shift" ? Qt::ShiftModifier : Qt::NoModifier);
    }
    /// Answers the next dialog with a text and this button.
    void Expect(bool accept)
    {
        WhenOpen([this, accept, text = QString(m_rest).replace(u'_', u' ')] {
            auto *dialog = qobject_cast<QInputDialog *>(QApplication::activeModalWidget());
            QVERIFY(dialog != nullptr);
            m_answers << dialog->windowTitle() + u' ' + dialog->textValue();
            dialog->setTextValue(text);
            accept ? dialog->accept() : dialog->reject();
        });
    }
    /// Fills the memory dialog that comes next: V its value or file, S, E and N start, end and
    /// number of bytes. Tells its range and whether OK is offered, which it presses unless told to
    /// "cancel".
    void ExpectForm()
    {
        WhenOpen([this, words = m_words] {
            const QPointer<CMemDialog> dialog
                = qobject_cast<CMemDialog *>(QApplication::activeModalWidget());
            QVERIFY(dialog != nullptr);
            const std::map<QChar, const char *> boxes{{u'V', "pEditBoxGenVal"},
                {u'S', "pEditBoxAddr"}, {u'E', "editBoxEndAddr"}, {u'N', "pEditBoxSize"}};
            const auto field = [&](QChar name) {
                return dialog->findChild<QLineEdit *>(QLatin1String(boxes.at(name)));
            };
            for (const QString &word : words) {
                if (!boxes.contains(word.front()))
                    continue;
                field(word.front())->selectAll();
                QTest::keyClick(field(word.front()), Qt::Key_Delete);
                QTest::keyClicks(field(word.front()), word.mid(1));
            }
            QPushButton *ok = dialog->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok);
            const bool isSaid = !dialog->findChild<QLabel *>("pLabelWhyNot")->text().isEmpty();
            m_answers << field(u'S')->text() + u' ' + field(u'E')->text() + u' '
                    + field(u'N')->text() + (ok->isEnabled() ? " ok" : "")
                    + (isSaid ? " why not" : "");
            WhenOpen([this] {
                if (auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget())) {
                    m_answers << "replaced";
                    box->button(QMessageBox::Yes)->click();
                }
            });
            if (words.contains("gone"))
                QFile::remove(dialog->FilePath());
            ok->isEnabled() && !words.contains("cancel") ? ok->click() : dialog->reject();
        });
    }
    /// Drops a text, or a file whose name begins with "~".
    void Drop()
    {
        QMimeData contents;
        contents.setText(m_rest);
        if (m_rest.startsWith(u'~'))
            contents.setUrls({QUrl::fromLocalFile(QDir::homePath() + m_rest.mid(1))});
        QDragEnterEvent enter(QPoint(9, 9), Qt::CopyAction, &contents, Qt::LeftButton, {});
        QApplication::sendEvent(view->viewport(), &enter);
        QDropEvent drop(QPointF(9, 9), Qt::CopyAction, &contents, Qt::LeftButton, {});
        if (enter.isAccepted())
            QApplication::sendEvent(view->viewport(), &drop);
        m_answers << (enter.isAccepted() ? "taken" : "refused");
    }
    /// Opens the context menu by a key, tells at which cell, and chooses an entry or tells all.
    void OpenMenu()
    {
        WhenOpen([this, wanted = m_rest] {
            QWidget *menu = QApplication::activePopupWidget();
            QVERIFY(menu != nullptr);
            TickAndChange(20);
            QVERIFY(menu->isVisible()); // ticks leave it alone
            const QPoint place = view->viewport()->mapFromGlobal(menu->pos());
            m_answers << QStringLiteral("%1:%2").arg(place.y() / heightPx).arg(place.x() / widthPx);
            if (wanted.isEmpty())
                m_answers << Entries(*menu);
            for (const QMenu *part : menu->findChildren<QMenu *>()) {
                for (QAction *action : part->actions()) {
                    if (action->text().trimmed() == wanted)
                        action->trigger();
                }
            }
            menu->close();
        });
        if (m_rest.isEmpty())
            return Key(Qt::Key_F10, Qt::ShiftModifier);
        QContextMenuEvent menuKey(QContextMenuEvent::Keyboard, {1, 1}, {1, 1});
        QApplication::sendEvent(view, &menuKey);
    }
    /// The entries that a user sees, submenus in brackets: texts, "-" for separators, "*" behind a
    /// checked one.
    static QString Entries(const QWidget &bar)
    {
        QString entries;
        for (const QAction *action : bar.actions()) {
            if (action->isSeparator())
                entries += "- ";
            else if (action->isVisible() && !action->text().isEmpty())
                entries
                    += action->text().remove(u'&').trimmed() + (action->isChecked() ? "* " : ", ");
            if (action->menu() != nullptr)
                entries += u'(' + Entries(*action->menu()) + ") ";
        }
        return entries.trimmed();
    }
    /// The cells that are painted on this background, "row:column".
    QString CellsOf(const QColor &colour)
    {
        const QImage image = view->viewport()->grab().toImage();
        QStringList cells;
        for (int row = 0; row < 20; ++row) {
            for (int column = 10; column < 76; ++column) {
                if (image.pixel(CellCentre(row, column).x() - 2, row * heightPx) == colour.rgb())
                    cells += QStringLiteral("%1:%2").arg(row).arg(column);
            }
        }
        return cells.join(u' ');
    }
    /// The digits in the edit box, as they are painted, and its caret.
    QString Box() const
    {
        if (!overlay->isVisible())
            return window.focusWidget() == view ? "closed" : "focus lost";
        QString digits;
        for (const PaintRecorder::Text &text : PaintRecorder::Record(*overlay))
            digits += text.text;
        return digits.trimmed() + QStringLiteral(" %1").arg(overlay->cursorPosition());
    }

    QString m_rest; // of the step, behind its verb
    QStringList m_words;
    QStringList m_answers;
    QPoint m_pointer;

    const std::map<QString, Doing> m_actions{
        {"goto", [this] { GoTo(Number(0)); }},
        {"jump", [this] { window.GoTo(Number(0), true, true); }},
        {"scroll", [this] { window.ScrollRows(m_rest.toInt()); }},
        {"bar",
            [this] { scrollBar->triggerAction(QAbstractSlider::SliderAction(m_rest.toInt())); }},
        {"slide", [this] { scrollBar->setValue(int(Number(0) - 0x7FFF'FFFF)); }},
        {"wheel", // over the view or a widget of this name
            [this] {
                QWidget *named = window.findChild<QWidget *>(m_words.at(0));
                for (const QString &units : m_words.mid(1))
                    WheelOver(named != nullptr ? named : view->viewport(), units.toInt());
            }},
        {"click", [this] { ClickByte(Number(0), Digit()); }},
        {"press", [this] { MouseAt(QEvent::MouseButtonPress); }},
        {"move", [this] { MouseAt(QEvent::MouseMove); }},
        {"lift", [this] { Mouse(QEvent::MouseButtonRelease, m_pointer); }},
        {"select", [this] { Select(Number(0), Number(1)); }},
        {"key", [this] { SendKey(QTest::keyClick); }},
        {"keys", // so many times the same
            [this] {
                for (int i = m_words.at(1).toInt(); i > 0; --i)
                    Key(QKeySequence(m_words.at(0))[0].key());
            }},
        {"hold", [this] { SendKey(QTest::keyPress); }},
        {"repeat", [this] { Repeat(); }},
        {"release", [this] { SendKey(QTest::keyRelease); }},
        {"type", [this] { Type(); }},
        {"enter", [this] { EnterAddress(m_rest); }},
        {"assist", [this] { EnterAddress(m_rest, true); }},
        {"item", [this] { addressBox->setCurrentIndex(m_rest.toInt()); }},
        {"focus", [this] { window.findChild<QWidget *>(m_rest)->setFocus(); }},
        {"do", [this] { Trigger(m_rest.toLatin1().constData()); }},
        {"give", // a host's data
            [this] {
                const QString data = m_rest.section(u' ', 1).replace(u'_', u' ');
                Action(m_words.at(0).toLatin1().constData())->setData(data.split(u','));
            }},
        {"accept", [this] { Expect(true); }},
        {"reject", [this] { Expect(false); }},
        {"menu", [this] { OpenMenu(); }},
        {"form", [this] { ExpectForm(); }},
        {"drop", [this] { Drop(); }},
        {"wait", [this] { Settled(); }},
        {"drag", // the bar's handle, over so many addresses
            [this] {
                scrollBar->setSliderDown(true);
                for (int i = 0; i < m_words.size(); ++i)
                    scrollBar->setSliderPosition(int(Number(i) - 0x7FFF'FFFF));
                m_answers << Row(0).left(12);
                scrollBar->setSliderDown(false);
            }},
        {"rate", [this] { rates->setCurrentText(u' ' + m_rest); }},
        {"ratetext", [this] { window.SelectRefreshText(u' ' + m_rest); }},
        {"interval", [this] { window.SetRefreshInterval(m_rest.toInt()); }},
        {"features", [this] { window.SetFeatureFlags(std::uint32_t(Number(0))); }},
        {"size", [this] { window.SetBytesPerItem(m_rest.toInt()); }},
        {"big", [this] { SetBigEndian(true); }},
        {"width", [this] { window.SetAccessWidth(std::uint8_t(Number(0))); }},
        {"zone", [this] { window.SetZone(m_rest); }},
        {"zones",
            [this] {
                target.zoneCount = m_words.at(0).toInt();
                target.zones = m_rest.section(u' ', 1).toLatin1();
            }},
        {"tick", [this] { Tick(); }},
        {"ticks", [this] { TickAndChange(99); }},
        {"read", [this] { window.UpdateFromTarget(); }},
        {"bad", [this] { target.unreadable = {Number(0)}; }},
        {"good", [this] { target.unreadable.clear(); }},
        {"change", [this] { target.ChangeAll(); }},
        {"set",
            [this] {
                for (int i = 1; i < m_words.size(); ++i)
                    target.Set(Number(0) + unsigned(i) - 1, std::uint8_t(Number(i)));
            }},
        {"readonly", [this] { target.failWrites = true; }},
        {"put",
            [this] {
                PutOnClipboard(m_words[0], QByteArray::fromHex(m_rest.section(u' ', 1).toLatin1()));
            }},
        {"host", // that offers its messages or nothing
            [this] {
                MemoryCallbacks callbacks;
                callbacks.ShowMessage = m_rest.isEmpty() ? nullptr : target.Callbacks().ShowMessage;
                window.SetCallbacks(callbacks);
            }},
        {"resize", [this] { ResizeView(m_words.at(0).toInt(), m_words.at(1).toInt()); }},
        {"narrow", [this] { view->setFixedWidth(150); }}, // for a single byte
        {"settle", [this] { window.OnResizeTimerTimeout(); }},
        {"later", [this] { QTRY_VERIFY(!target.reads.empty()); }},
        {"hide", [this] { window.hide(); }},
        {"show", [this] { window.show(); }},
        {"pull", // a selection, with the pointer so far below the view's top
            [this] {
                QCursor::setPos(view->viewport()->mapToGlobal(QPoint(100, m_rest.toInt())));
                window.OnAutoScrollSelectionTimerTimeout();
            }},
        {"close", [this] { window.close(); }},
        {"destroy", [this] { owner.reset(); }},
    };
    const std::map<QString, Question> m_questions{
        {"base?", [this] { return HexText(window.BaseAddress()); }},
        {"row?", [this] { return Settled().Row(m_rest.toInt()); }},
        {"item?", [this] { return Settled().Item(Number(0)); }},
        {"red?", // what has the colour of a byte that has just changed
            [this] {
                QStringList texts;
                for (const PaintRecorder::Text &text : PaintRecorder::Record(*view->viewport()))
                    texts += text.colour == 0xFFFF0000U ? QStringList(text.text) : QStringList();
                return texts.join(u' ');
            }},
        {"selected?",
            [this] { return CellsOf(view->palette().color(QPalette::AlternateBase).darker(105)); }},
        {"cursor?", [this] { return CellsOf(view->palette().color(QPalette::Highlight)); }},
        {"reads?", [this] { return TakeReads(); }},
        {"sent?", [this] { return TakeWrites(); }},
        {"written?", // and what the write-back brings
            [this] {
                window.OnEditUpdateTimerTimeout();
                return TakeWrites();
            }},
        {"box?", [this] { return Box(); }},
        {"title?", [this] { return window.windowTitle(); }},
        {"rate?", [this] { return rates->currentText().trimmed(); }},
        {"addresses?",
            [this] { return static_cast<AddressBox *>(addressBox)->Items().join(u' '); }},
        {"checked?",
            [this] { return Action(m_rest.toLatin1().constData())->isChecked() ? "yes" : "no"; }},
        {"toolbar?",
            [this] {
                const auto *toolBar = window.findChild<QToolBar *>("pToolBar");
                return toolBar->isVisible() ? Entries(*toolBar) : "hidden";
            }},
        {"file?", [this] { return QString(FileContent(QDir::home().filePath(m_rest)).toHex()); }},
        {"clip?", [this] { return QString::fromLatin1(ClipboardData("text/plain")); }},
        {"binary?", [this] { return QString::fromLatin1(ClipboardData(kBinary).toHex()); }},
        {"messages?", [this] { return TakeMessages(); }},
        {"failed?",
            [this] {
                QStringList texts;
                while (!failed.isEmpty())
                    texts << failed.takeFirst().at(0).toString();
                return texts.join(u',');
            }},
    };
};

inline void RunScript()
{
    RunScript<MemScript>();
}
