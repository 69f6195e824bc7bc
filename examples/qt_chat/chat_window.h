// SPDX-License-Identifier: Apache-2.0
// A chat beside a table of rows.
#pragma once

#include <zeakit/worker.h>
#include <zeasqlite/read_only_runner.h>

#include <QComboBox>
#include <QLineEdit>
#include <QMainWindow>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QTextBrowser>
#include <QTimer>
#include <memory>
#include <string>

class ChatWindow : public QMainWindow {
 public:
  /// `host`: empty for the provider's own.
  ChatWindow(const std::string& databaseFile, const std::string& host, const std::string& key);

 private:
  void lay();
  void connectWidgets();
  void ask();
  void showAnswer(const zeakit::Answer& answer);
  void run();
  void showResult(const zeakit::StatementResult& result);
  void listModels();
  void setModel(const QString& model);
  void cancel() { worker_->cancel(); }
  /// What the window lets its user do, and how long he has waited.
  void showState();

  std::shared_ptr<zeakit::IReadOnlyRunner> runner_;  // shared with the job that uses it
  std::string openingError_;

  QTextBrowser* chat_ = new QTextBrowser;
  QLineEdit* question_ = new QLineEdit;
  QComboBox* models_ = new QComboBox;
  QPushButton* ask_ = new QPushButton("Ask");
  QPushButton* cancel_ = new QPushButton("Cancel");
  QPushButton* run_ = new QPushButton("Run");
  QPlainTextEdit* statement_ = new QPlainTextEdit;
  QTableWidget* rows_ = new QTableWidget;
  QTimer ticks_;

  // The last member: it ends before what its callbacks use.
  std::unique_ptr<zeakit::Worker> worker_;
};
