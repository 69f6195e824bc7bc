// SPDX-License-Identifier: Apache-2.0
#include "chat_window.h"

#include <zea/zea.h>
#include <zeakit/reply_parts.h>
#include <zeasqlite/read_structure.h>

#include <QHBoxLayout>
#include <QHeaderView>
#include <QSplitter>
#include <QStatusBar>
#include <QVBoxLayout>
#include <chrono>
#include <utility>

namespace {

QString textOf(const std::string& bytes) { return QString::fromStdString(bytes); }

/// Tells the assistant of the database.
void describe(IZEAAssistant& assistant, const zeakit::BuiltStructure& structure) {
  CMVariantMap instructions;
  for (const auto& [name, text] : structure.instructions) instructions[name] = text;
  assistant.updateProperties([&](IZEAProperties* properties) {
    // Both fit their keys; a database without tables is told of by its instructions alone.
    static_cast<void>(properties->setValue("system_instructions", instructions));
    static_cast<void>(properties->setValue("db_structure", structure.document));
  });
}

}  // namespace

ChatWindow::ChatWindow(const std::string& databaseFile, const std::string& host, const std::string& key) {
  const zeakit::ReadResult read = zeasqlite::readStructure(databaseFile);
  zeakit::OpenedRunner opened = zeasqlite::openReadOnlyRunner(databaseFile);
  runner_ = std::move(opened.runner);
  openingError_ = read.error.empty() ? opened.error : read.error;
  worker_ = std::make_unique<zeakit::Worker>(
      [&](ICSHTTPPoolCenter* pool) {
        IZEAAssistant* const assistant = ZEACreateAssistant(ZEAAssistantType::OPENAI_v1, pool, key, host, nullptr);
        if (assistant != nullptr) describe(*assistant, read.structure);
        return assistant;
      },
      [this](std::function<void()> function) {
        QMetaObject::invokeMethod(this, std::move(function), Qt::QueuedConnection);
      });
  lay();
  connectWidgets();
  setModel(models_->currentText());
  showState();
  statusBar()->showMessage(textOf(openingError_));
}

void ChatWindow::lay() {
  question_->setPlaceholderText("Ask about the database");
  models_->setEditable(true);
  models_->addItem("gpt-4o");
  statement_->setMaximumHeight(120);
  rows_->verticalHeader()->hide();
  rows_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  // Names by which a test finds them.
  chat_->setObjectName("chat");
  question_->setObjectName("question");
  models_->setObjectName("models");
  statement_->setObjectName("statement");
  rows_->setObjectName("rows");

  auto* const line = new QHBoxLayout;
  line->addWidget(question_);
  line->addWidget(ask_);
  line->addWidget(cancel_);
  auto* const left = new QWidget;
  auto* const leftLayout = new QVBoxLayout(left);
  leftLayout->addWidget(models_);
  leftLayout->addWidget(chat_);
  leftLayout->addLayout(line);
  auto* const right = new QWidget;
  auto* const rightLayout = new QVBoxLayout(right);
  rightLayout->addWidget(statement_);
  rightLayout->addWidget(run_);
  rightLayout->addWidget(rows_);
  auto* const halves = new QSplitter;
  halves->addWidget(left);
  halves->addWidget(right);
  setCentralWidget(halves);
  setWindowTitle("Chat about a database");
  resize(960, 540);
}

void ChatWindow::connectWidgets() {
  connect(question_, &QLineEdit::returnPressed, this, [this] { ask(); });
  connect(ask_, &QPushButton::clicked, this, [this] { ask(); });
  connect(cancel_, &QPushButton::clicked, this, [this] { cancel(); });
  connect(run_, &QPushButton::clicked, this, [this] { run(); });
  connect(statement_, &QPlainTextEdit::textChanged, this, [this] { showState(); });
  connect(models_, &QComboBox::currentTextChanged, this, [this](const QString& model) { setModel(model); });
  connect(&ticks_, &QTimer::timeout, this, [this] { showState(); });
  listModels();
}

void ChatWindow::ask() {
  const QString question = question_->text();
  if (question.trimmed().isEmpty()) return;
  question_->clear();
  chat_->append("<b>" + question.toHtmlEscaped() + "</b>");
  worker_->ask(question.toStdString(), [this](const zeakit::Answer& answer) { showAnswer(answer); });
  showState();
}

void ChatWindow::showAnswer(const zeakit::Answer& answer) {
  if (!answer.failure.empty()) chat_->append("<i>" + textOf(answer.failure).toHtmlEscaped() + "</i>");
  for (const zeakit::ReplyPart& part : zeakit::replyParts(answer.text)) {
    const QString text = textOf(part.content());
    if (part.kind == zeakit::ReplyPartKind::Text) chat_->append(text.trimmed().toHtmlEscaped());
    if (part.kind == zeakit::ReplyPartKind::Sql) statement_->setPlainText(text.trimmed());
  }
  showState();
}

void ChatWindow::run() {
  const std::string sql = statement_->toPlainText().toStdString();
  const auto result = std::make_shared<zeakit::StatementResult>();
  worker_->run([runner = runner_, sql, result](IZEAAssistant&) { *result = runner->run(sql); },
               [this, result](const std::string& failure) {
                 if (!failure.empty()) result->error = failure;
                 showResult(*result);
               },
               [runner = runner_] { runner->cancel(); });
  showState();
}

void ChatWindow::showResult(const zeakit::StatementResult& result) {
  rows_->clear();
  rows_->setColumnCount(static_cast<int>(result.columns.size()));
  rows_->setRowCount(static_cast<int>(result.rows.size()));
  for (int column = 0; column < rows_->columnCount(); ++column) {
    const auto at = static_cast<std::size_t>(column);
    rows_->setHorizontalHeaderItem(column, new QTableWidgetItem(textOf(result.columns[at].name)));
    for (int row = 0; row < rows_->rowCount(); ++row) {
      const zeakit::ResultCell& cell = result.rows[static_cast<std::size_t>(row)][at];
      const std::string text = cell.isNull ? "NULL" : cell.isBinary ? "(binary)" : cell.value;
      rows_->setItem(row, column, new QTableWidgetItem(textOf(text)));
    }
  }
  showState();
  const QString count = QString::number(result.rows.size()) + (result.isCut ? " rows, and there are more" : " rows");
  statusBar()->showMessage(result.error.empty() ? count : textOf(result.error));
}

void ChatWindow::listModels() {
  worker_->listModels([this](const zeakit::ModelList& list) {
    for (const std::string& model : list.models) models_->addItem(textOf(model));
    showState();
    if (!list.failure.empty()) statusBar()->showMessage(textOf(list.failure));
  });
}

void ChatWindow::setModel(const QString& model) {
  worker_->run(
      [name = model.toStdString()](IZEAAssistant& assistant) {
        assistant.updateProperties([&](IZEAProperties* properties) {
          static_cast<void>(properties->setValue("model", name));  // a text, which the key takes
        });
      },
      [this](const std::string&) { showState(); });
}

void ChatWindow::showState() {
  const zeakit::WorkerState state = worker_->state();
  const bool isBusy = state.jobs > 0;
  ask_->setEnabled(!isBusy);
  cancel_->setEnabled(isBusy);
  run_->setEnabled(!isBusy && runner_ != nullptr && !statement_->toPlainText().isEmpty());
  if (!isBusy) {
    if (ticks_.isActive()) statusBar()->clearMessage();
    ticks_.stop();
    return;
  }
  if (!ticks_.isActive()) ticks_.start(250);
  if (!state.runningSince) return;
  const auto waited =
      std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - *state.runningSince);
  statusBar()->showMessage(QString("Waiting for %1 s").arg(waited.count()));
}
