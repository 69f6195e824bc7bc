// SPDX-License-Identifier: Apache-2.0
// A chat about an SQLite database, in a window.
//   OPENAI_API_KEY=... qt_chat DATABASE [HOST]
#include <QApplication>
#include <cstdlib>
#include <iostream>

#include "chat_window.h"

int main(int argc, char** argv) {
  const QApplication application(argc, argv);
  if (argc < 2) {
    std::cerr << "Usage: qt_chat DATABASE [HOST]\n";
    return 2;
  }
  const char* const key = std::getenv("OPENAI_API_KEY");
  ChatWindow window(argv[1], argc > 2 ? argv[2] : "", key != nullptr ? key : "");
  window.show();
  return QApplication::exec();
}
