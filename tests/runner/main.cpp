// Runs tables: tables [--update] TABLE...
//
// A row is a call and, after "->", its outcome. Rows up to a blank line form a group and share a
// system double and named objects. See docs/testing.md. --update writes outcomes that differ into
// the tables, for review.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <optional>

#include "runner/bind.h"

extern "C" {
// Provided by the sanitizers, if linked.
__attribute__((weak)) void __sanitizer_set_report_fd(void *fd);
__attribute__((weak)) void __sanitizer_set_death_callback(void (*callback)());
const char *__asan_default_options() {
  return "handle_segv=0:handle_sigbus=0:handle_abort=0:handle_sigfpe=0:allocator_may_return_null=1";
}
const char *__ubsan_default_options() {
  return "handle_segv=0:handle_sigbus=0:handle_abort=0:handle_sigfpe=0:abort_on_error=1";
}
}

namespace talvera::test {
namespace {

char location[512];  // of the current row

// Splits a text into its first word and the rest.
std::pair<std::string, std::string> first_word(const std::string &text) {
  const std::size_t space = std::min(text.find(' '), text.size());
  return {text.substr(0, space), trimmed(text.substr(space))};
}

// A parsed call. A call without a function name repeats the previous step's functions.
struct Step {
  std::vector<std::string> names;  // aliases of one function
  std::string object;              // name for the result, if any
  std::string arguments;
};

class Table {
 public:
  Table(std::string path, bool update) : path_(std::move(path)), update_(update) {}

  void run() {
    read_lines();
    for (Line &line : lines_) {
      std::snprintf(location, sizeof location, "FAILED %s:%zu\n", path_.c_str(), line.number);
      const std::string text = trimmed(line.text);
      if (text.empty()) {
        end_group();
      } else if (text[0] != '#') {
        if (!session_) session_.emplace();
        if (!session_->skipped) run_row(line);
      }
    }
    end_group();
    if (!changed_) return;
    std::ofstream out(path_);
    for (const Line &line : lines_)
      out << line.in_file << '\n';
  }

  [[nodiscard]] int failures() const { return failures_; }
  [[nodiscard]] int rows() const { return rows_; }

 private:
  struct Line {
    std::size_t number;
    std::string text, in_file;
  };

  // A line that begins with a blank continues the previous one; after a backslash, without a blank
  // between them.
  void read_lines() {
    std::ifstream in(path_);
    std::size_t number = 0;
    for (std::string line; std::getline(in, line);) {
      ++number;
      if (!lines_.empty() && line.starts_with(' ')) {
        std::string &row = lines_.back().text;
        if (row.ends_with('\\')) {
          row.pop_back();
        } else {
          row += ' ';
        }
        row += trimmed(line);
        lines_.back().in_file += '\n' + line;
      } else {
        lines_.push_back({number, line, line});
      }
    }
  }

  // Breaks a long row before its outcomes.
  static std::string wrapped(const std::string &row) {
    if (row.size() <= 100) return row;
    std::string text;
    for (const std::string &piece : split(row, " ->"))
      text += (text.empty() ? "" : "\n    ->") + piece;
    return text;
  }

  void run_row(Line &line) {
    std::string row;
    for (const std::string &piece : split(line.text, " | ")) {
      if (session_->skipped) {
        row += " | " + piece;
        continue;
      }
      const std::vector<std::string> halves = split(piece, " ->");
      const std::string expected = halves.size() > 1 ? trimmed(halves[1]) : "";
      const std::string got = outcome(trimmed(halves[0]));
      ++rows_;
      row += (row.empty() ? "" : " | ");
      if (got == expected) {
        row += piece;
        continue;
      }
      row += halves[0] + (got.empty() ? "" : " -> " + got);
      changed_ = changed_ || update_;
      if (!update_) fail(trimmed(halves[0]), "expected  " + expected, "got       " + got);
    }
    if (row != line.text) line.in_file = wrapped(row);
  }

  void fail(const std::string &what, const std::string &expected, const std::string &got) {
    ++failures_;
    std::fprintf(report(), "%s  %s\n  %s\n  %s\n", location, what.c_str(), expected.c_str(),
                 got.c_str());
    std::fflush(report());
  }

  // Runs a call with all its choices under each of its names, which must agree.
  std::string outcome(const std::string &text) {
    try {
      if (text.starts_with("let ")) return define(trimmed(text.substr(4)));
      parse(text);
      std::string first;
      for (const std::string &name : step_.names) {
        std::vector<std::string> outcomes;
        for (const std::string &choice : expand_braces(session_->substituted(step_.arguments)))
          outcomes.push_back(outcome(name, choice));
        if (std::all_of(outcomes.begin(), outcomes.end(), [](const auto &o) { return o.empty(); }))
          return {};  // directives
        const bool simple = std::none_of(outcomes.begin(), outcomes.end(), [](const auto &o) {
          return o.find(' ') != std::string::npos;
        });
        const std::string all = collapsed(outcomes, simple ? " " : ", ");
        if (name == step_.names.front()) {
          first = all;
        } else if (all != first) {
          return first + ", but " + name + " -> " + all;
        }
      }
      return first;
    } catch (const TableError &error) {
      return std::string("? ") + error.what();
    }
  }

  std::string outcome(const std::string &name, const std::string &arguments) {
    Call call(*session_, parse_values(arguments));
    call.name_result(step_.object);
    functions()[name](call);
    return call.outcome();
  }

  // let name value: "$name" expands to the value.
  std::string define(const std::string &text) {
    const auto [name, value] = first_word(text);
    session_->values[name] = session_->substituted(value);
    return {};
  }

  void parse(const std::string &text) {
    std::string object;
    auto [word, rest] = first_word(text);
    if (rest.starts_with("= ")) {
      object = word;
      std::tie(word, rest) = first_word(rest.substr(2));
    }
    const std::vector<std::string> names = split(word, "|");
    const auto is_known = [](const std::string &name) { return functions().contains(name); };
    if (std::all_of(names.begin(), names.end(), is_known)) {
      step_ = {names, object, rest};
    } else {
      if (step_.names.empty() || !object.empty()) throw TableError("no function " + word);
      step_.arguments = text;
    }
  }

  void end_group() {
    if (!session_) return;
    const std::string problem = session_->problem();
    session_.reset();
    if (!problem.empty()) fail("the group that ends here leaves", problem, "");
  }

  std::string path_;
  bool update_;
  std::vector<Line> lines_;
  std::optional<Session> session_;
  Step step_;
  int failures_ = 0, rows_ = 0;
  bool changed_ = false;
};

int run_all(int argc, char *argv[]) {
  capture_output();
  if (__sanitizer_set_report_fd != nullptr) {
    const long own = fcntl(fileno(report()), F_DUPFD_CLOEXEC, 100);  // a call may close it
    __sanitizer_set_report_fd(reinterpret_cast<void *>(own));
    __sanitizer_set_death_callback([] {
      if (write(fileno(report()), location, std::strlen(location)) < 0) return;
    });
  }
  bool update = false;
  int failures = 0, rows = 0;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--update") == 0) {
      update = true;
    } else {
      Table table(argv[i], update);
      table.run();
      failures += table.failures();
      rows += table.rows();
    }
  }
  std::fprintf(report(), "%d calls, %d failures\n", rows, failures);
  return failures == 0 && rows > 0 ? 0 : 1;
}

}  // namespace
}  // namespace talvera::test

int main(int argc, char *argv[]) {
  return talvera::test::run_all(argc, argv);
}
