// SPDX-License-Identifier: Apache-2.0
// The window of examples/qt_chat, driven without a screen.
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <stdlib.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QStatusBar>
#include <algorithm>
#include <filesystem>
#include <iostream>

#include "chat_window.h"
#include "standin/zea_standin.h"

namespace {

/// The loop of a window, as long as the condition doesn't hold.
template <class Condition>
void waitUntil(Condition condition) {
  while (!condition()) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

QPushButton* buttonOf(const ChatWindow& window, const char* text) {
  const auto buttons = window.findChildren<QPushButton*>();
  return *std::find_if(buttons.begin(), buttons.end(), [text](const QPushButton* one) { return one->text() == text; });
}

}  // namespace

TEST(QtChat, AsksCancelsAsksAgainAndRunsAStatement) {
  std::string pattern = (std::filesystem::temp_directory_path() / "qtchatXXXXXX").string();
  const std::filesystem::path folder = mkdtemp(pattern.data());
  const std::string file = folder / "shop.db";
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(database,
                         "CREATE TABLE orders(id INTEGER PRIMARY KEY, customer TEXT, state TEXT);"
                         "INSERT INTO orders VALUES(1, 'Ada', 'open'), (2, 'Grace', 'sent'), (3, 'Edsger', 'open')",
                         nullptr, nullptr, nullptr),
            SQLITE_OK);
  sqlite3_close(database);

  standin::Server server;
  server.enqueue({200, R"({"data":[{"object":"model","id":"another","created":1}]})"});
  standin::Reply slow{200, "{}"};
  slow.delay = std::chrono::minutes(10);
  server.enqueue(slow);
  server.enqueue({200,
                  R"({"choices":[{"message":{"role":"assistant","content":"These orders are open:\n```sql\nSELECT id,)"
                  R"( customer\nFROM orders\nWHERE state = 'open'\n```"}}]})"});
  {
    ChatWindow window(file, server.url(), "k");
    window.show();
    auto* const question = window.findChild<QLineEdit*>("question");
    auto* const rows = window.findChild<QTableWidget*>("rows");
    QPushButton* const ask = buttonOf(window, "Ask");
    waitUntil([&] { return ask->isEnabled(); });
    EXPECT_EQ(window.findChild<QComboBox*>("models")->itemText(1), "another");

    // The window's clock goes on while it waits.
    QTimer ticks;
    QElapsedTimer sinceTick;
    qint64 longestGap = 0;
    int count = 0;
    QObject::connect(&ticks, &QTimer::timeout, [&] {
      longestGap = std::max(longestGap, sinceTick.restart());
      ++count;
    });
    question->setText("Which orders are open?");
    ask->click();
    sinceTick.start();
    ticks.start(16);
    waitUntil([&] { return server.requests().size() == 2 && count > 20; });
    std::cout << "longest gap between ticks of 16 ms: " << longestGap << " ms\n";
    EXPECT_FALSE(ask->isEnabled());
    buttonOf(window, "Cancel")->click();
    waitUntil([&] { return ask->isEnabled(); });
    EXPECT_TRUE(window.findChild<QTextBrowser*>("chat")->toPlainText().contains("cancel"));

    question->setText("Which orders are open?");
    ask->click();
    waitUntil([&] { return ask->isEnabled(); });
    EXPECT_TRUE(window.findChild<QTextBrowser*>("chat")->toPlainText().endsWith("These orders are open:"));
    EXPECT_EQ(server.requests().back().body.find("CREATE TABLE `orders`") != std::string::npos, true);
    buttonOf(window, "Run")->click();
    waitUntil([&] { return ask->isEnabled(); });
    ASSERT_EQ(rows->rowCount(), 2);
    EXPECT_EQ(rows->item(1, 1)->text(), "Edsger");
    EXPECT_EQ(window.statusBar()->currentMessage(), "2 rows");
    const char* const picture = std::getenv("ZEA_PICTURE");
    EXPECT_TRUE(picture == nullptr || window.grab().save(picture));

    window.findChild<QPlainTextEdit*>("statement")->setPlainText("DELETE FROM orders");
    buttonOf(window, "Run")->click();
    waitUntil([&] { return ask->isEnabled(); });
    EXPECT_EQ(window.statusBar()->currentMessage(), "It changes rows.");
  }
  std::filesystem::remove_all(folder);
}

int main(int argc, char** argv) {
  setenv("QT_QPA_PLATFORM", "offscreen", 1);
  const QApplication application(argc, argv);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
