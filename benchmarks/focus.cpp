// SPDX-License-Identifier: Apache-2.0
// How many questions get the tables that they need, by the budget in tokens. A line for each budget:
//   budget=8000 complete=0.987 recall=0.993 tokens=7100 us=850
// the share of the questions of which all tables are in the prompt, whole or slimmed; the mean share of a question's
// tables; mean tokens, and median microseconds of a fit. With --speed a line on what it all costs instead.
#include <malloc.h>
#include <qx/qx.h>
#include <zea/zea_owned.h>
#include <zeakit/structure_index.h>
#include <zeakit/token_estimate.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace {

struct Question {
  std::string text, database;
  std::set<std::string> tables;
};

using Scopes = std::map<std::string, std::vector<std::string>>;

std::string readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw CLI::ValidationError(path + " cannot be read.");
  return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> stringsOf(const COJsonValue* array) {
  std::vector<std::string> strings;
  for (std::size_t index = 0; array != nullptr && index < array->obtainArraySize(); ++index) {
    strings.push_back(array->obtainArrayItem(index)->obtainStringValue());
  }
  return strings;
}

std::string textOf(const COJsonValue& object, const char* key) {
  const COJsonValue* const value = object.obtainKeyValue(key);
  return value != nullptr ? value->obtainStringValue() : std::string();
}

std::vector<Question> readQuestions(const std::string& path) {
  std::vector<Question> questions;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    if (line.find_first_not_of(" \t\r") == std::string::npos) continue;
    const COJson json(line);
    if (json.obtainType() != COJsonValueType::Object) throw CLI::ValidationError(path + ": a line is no JSON object.");
    const auto tables = stringsOf(json.obtainKeyValue("tables"));
    questions.push_back({textOf(json, "question"), textOf(json, "database"), {tables.begin(), tables.end()}});
  }
  if (questions.empty()) throw CLI::ValidationError(path + " holds no questions.");
  return questions;
}

/// Of a file, whose form is {"database": ["schema.table", ...]}; without one, the schema of the database's name.
Scopes readScopes(const std::string& path, const std::vector<Question>& questions) {
  Scopes scopes;
  const COJson json(path.empty() ? "{}" : readFile(path));
  if (json.obtainType() != COJsonValueType::Object) throw CLI::ValidationError(path + " is no JSON object.");
  for (const Question& question : questions) {
    if (scopes.count(question.database) > 0) continue;
    auto tables = stringsOf(json.obtainKeyValue(question.database));
    if (tables.empty()) tables = {question.database + ".*"};
    scopes.emplace(question.database, std::move(tables));
  }
  return scopes;
}

/// What of the statements, in the order of the document, is there before the budget ends.
zeakit::Fit cutOff(const zeakit::Fit& whole, std::size_t budget, const std::vector<std::size_t>& tokens) {
  zeakit::Fit fit;
  for (std::size_t index = 0; index < tokens.size() && fit.tokens + tokens[index] <= budget; ++index) {
    fit.tokens += tokens[index];
    fit.tables.push_back(whole.tables[index]);
  }
  return fit;
}

/// What each table takes by itself.
std::vector<std::size_t> tokensOfEach(const zeakit::StructureIndex& index, const zeakit::Fit& whole) {
  std::vector<std::size_t> tokens;
  for (const auto& table : whole.tables) {
    zeakit::FitOptions options;
    options.budget = 100000000;
    options.scope = {table.name};
    tokens.push_back(index.fit("", options).tokens);
  }
  return tokens;
}

/// The document with copies of its schemas under other names, until it has that many tables.
std::string withCopies(const std::string& document, std::size_t tables) {
  const std::size_t size = zeakit::StructureIndex(document).size();
  const COJson json(document);
  std::string schemas;
  for (std::size_t copy = 0; size > 0 && copy * size < tables; ++copy) {
    for (std::size_t catalog = 0; catalog < json.obtainArraySize(); ++catalog) {
      const COJsonValue* const list = json.obtainArrayItem(catalog)->obtainKeyValue("schemas");
      for (std::size_t index = 0; list != nullptr && index < list->obtainArraySize(); ++index) {
        const COJsonValue& schema = *list->obtainArrayItem(index);
        std::string text = schema.obtainJsonString();
        const std::string name = textOf(schema, "schema_name") + "\"";
        const std::string key = "\"schema_name\":\"";
        const std::size_t at = text.find(key + name);
        if (at != std::string::npos) text.insert(at + key.size() + name.size() - 1, "_" + std::to_string(copy));
        schemas += (schemas.empty() ? "" : ",") + text;
      }
    }
  }
  return "[{\"schemas\":[" + schemas + "]}]";
}

template <class Function>
double medianMicroseconds(std::size_t runs, Function function) {
  std::vector<double> times;
  for (std::size_t run = 0; run < runs; ++run) {
    const auto begin = std::chrono::steady_clock::now();
    function(run);
    times.push_back(std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - begin).count());
  }
  std::sort(times.begin(), times.end());
  return times[times.size() / 2];
}

/// A line on index, fit and estimate, against what the library takes to render the document.
void printSpeed(const std::string& document, const std::vector<Question>& questions, std::size_t budget) {
  const zea::Owned<IZEAAssistant> assistant(
      ZEACreateAssistant(ZEAAssistantType::OPENAI_v1, QX::createHTTPPoolCenter(), "", "localhost", nullptr));
  assistant->updateProperties([&](IZEAProperties* properties) {
    if (!properties->setValue("db_structure", document)) throw CLI::ValidationError("The structure is refused.");
  });
  const zea::Owned<IZEAProperties> properties(assistant->obtainProperties());
  std::string prompt;
  const double rendering = medianMicroseconds(
      9, [&](std::size_t) { prompt = properties->obtainValue("combined_instructions").stringValue(); });
  std::unique_ptr<zeakit::StructureIndex> index;
  const double building =
      medianMicroseconds(9, [&](std::size_t) { index = std::make_unique<zeakit::StructureIndex>(document); });
  index.reset();
  malloc_trim(0);
  const auto before = mallinfo2();
  index = std::make_unique<zeakit::StructureIndex>(document);
  const auto after = mallinfo2();
  const auto kept = static_cast<double>(after.uordblks + after.hblkhd - before.uordblks - before.hblkhd);
  zeakit::FitOptions options;
  options.budget = budget;
  const double fitting = medianMicroseconds(
      questions.size(), [&](std::size_t run) { static_cast<void>(index->fit(questions[run].text, options)); });
  std::size_t tokens = 0;
  const double counting = medianMicroseconds(9, [&](std::size_t) { tokens = zeakit::estimateTokens(prompt); });
  std::printf(
      "tables=%zu bytes=%zu tokens=%zu rendering_us=%.0f index=%.2f fit=%.2f fit_us=%.0f memory=%.2f "
      "estimate_mb_s=%.0f\n",
      index->size(), document.size(), tokens, rendering, building / rendering, fitting / rendering, fitting,
      kept / static_cast<double>(document.size()), static_cast<double>(prompt.size()) / counting);
}

/// What is given, in any order: numbers are budgets, and what a file is for shows in what it holds.
struct Arguments {
  std::string structure, questions, scopes;  // paths
  std::vector<std::size_t> budgets;

  explicit Arguments(const std::vector<std::string>& all) {
    for (const std::string& argument : all) {
      if (argument.find_first_not_of("0123456789") == std::string::npos) {
        budgets.push_back(std::stoull(argument));
        continue;
      }
      const std::string text = readFile(argument);
      const std::size_t first = text.find_first_not_of(" \t\r\n\xef\xbb\xbf");
      const COJson json(text);
      const bool isScopes = json.obtainType() == COJsonValueType::Object && json.obtainKeyValue("question") == nullptr;
      (first != std::string::npos && text[first] == '[' ? structure : isScopes ? scopes : questions) = argument;
    }
    if (structure.empty() || questions.empty() || budgets.empty()) {
      throw CLI::ValidationError("A structure, questions and a budget are needed.");
    }
  }
};

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> positionals;
  bool isOwn = false;
  bool isCutOff = false;
  std::size_t speedTables = 0;
  CLI::App app("Measures how many questions get the tables that they need.");
  app.add_option("arguments", positionals,
                 "STRUCTURE.json, QUESTIONS.jsonl, budgets in tokens, and a file of scopes: "
                 "{\"database\": [\"schema.table\", ...]}")
      ->required();
  app.add_flag("--own-database", isOwn,
               "each question sees the tables of its database alone: those of its scope, or the schema of its name");
  app.add_flag("--cut-off", isCutOff, "the whole structure, cut off at the budget, in place of a fit");
  app.add_option("--speed", speedTables, "what a structure of so many tables costs, made of copies of the given one");
  CLI11_PARSE(app, argc, argv);
  try {
    const Arguments arguments(positionals);
    const std::vector<Question> questions = readQuestions(arguments.questions);
    if (speedTables > 0) {
      printSpeed(withCopies(readFile(arguments.structure), speedTables), questions, arguments.budgets.front());
      return 0;
    }
    const zeakit::StructureIndex index(readFile(arguments.structure));
    if (!index.error().empty()) throw CLI::ValidationError(index.error());
    const Scopes scopes = isOwn ? readScopes(arguments.scopes, questions) : Scopes();
    std::map<std::string, std::pair<zeakit::Fit, std::vector<std::size_t>>> wholes;
    for (const std::size_t budget : arguments.budgets) {
      double complete = 0, recall = 0, tokens = 0;
      std::vector<double> times;
      for (const Question& question : questions) {
        zeakit::FitOptions options;
        options.budget = budget;
        const auto scope = scopes.find(question.database);
        if (scope != scopes.end()) options.scope = scope->second;
        zeakit::Fit fit;
        if (isCutOff) {
          auto& [whole, each] = wholes[scope != scopes.end() ? question.database : ""];
          if (each.empty()) {
            options.budget = 100000000;
            whole = index.fit("", options);
            each = tokensOfEach(index, whole);
          }
          fit = cutOff(whole, budget, each);
        } else {
          const auto begin = std::chrono::steady_clock::now();
          fit = index.fit(question.text, options);
          times.push_back(std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - begin).count());
        }
        std::size_t found = 0;
        for (const auto& table : fit.tables) {
          if (table.depth != zeakit::FitDepth::Named) found += question.tables.count(table.name);
        }
        complete += found == question.tables.size() ? 1 : 0;
        const auto needed = static_cast<double>(question.tables.size());
        recall += needed > 0 ? static_cast<double>(found) / needed : 1;
        tokens += static_cast<double>(fit.tokens);
      }
      const auto count = static_cast<double>(questions.size());
      std::sort(times.begin(), times.end());
      std::printf("budget=%zu complete=%.3f recall=%.3f tokens=%.0f us=%.0f\n", budget, complete / count,
                  recall / count, tokens / count, times.empty() ? 0.0 : times[times.size() / 2]);
    }
  } catch (const CLI::Error& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
  return 0;
}
