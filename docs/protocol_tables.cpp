// docs/protocol.md tells bridge authors what goes over the sockets. What the records and the
// verb table know of that is not told twice: this program writes it into the document's tables,
// and a test fails when they no longer agree.
//
//   qv_protocol_tables docs/protocol.md            status 1, and what differs, when something does
//   qv_protocol_tables docs/protocol.md --write    mends the document
//
// A table stands below a line "<!-- table: NAME -->" and two lines of heading. Its last column,
// what a field means, is the document's own: it is kept, found again by the first column, and
// missed where it is empty. Which fields a command sends is not read off anywhere: the requests
// are built, with the flags that have to be there alone and with all others.

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "base/json.h"
#include "base/record.h"
#include "base/text.h"
#include "board/request.h"
#include "board/request_builder.h"
#include "board/response.h"
#include "cli/verb_table.h"
#include "notes/request.h"
#include "notes/request_builder.h"
#include "notes/response.h"

namespace {

using namespace qv;

// The rows of a table without their last column, and the name it goes by.
struct Table {
  std::string name;
  std::vector<std::vector<std::string>> rows;
};

std::string code(std::string_view text) { return "`" + std::string(text) + "`"; }

// The name of a type as compilers spell it: "... [T = qv::Volley]", "... [with T = qv::Volley]".
template <class T>
std::string name_of() {
  const std::string_view spelled = __PRETTY_FUNCTION__;
  const std::size_t from = spelled.find("T = qv::") + 8;
  return std::string(spelled.substr(from, spelled.find_first_of(";]", from) - from));
}

// What a field holds, perhaps a list of it.
template <class T>
struct Held {
  using Type = T;
};
template <class T>
struct Held<std::optional<T>> : Held<T> {};
template <class T>
struct Held<std::vector<T>> : Held<T> {};
template <class T>
struct Held<record::List<T>> : Held<T> {};

template <class T>
std::string type_of() {
  if constexpr (std::is_same_v<T, std::string>) {
    return "string";
  } else if constexpr (std::is_same_v<T, bool>) {
    return "boolean";
  } else if constexpr (std::is_integral_v<T>) {
    return "integer";
  } else if constexpr (record::detail::is_optional<T>) {
    return type_of<typename T::value_type>();
  } else if constexpr (record::detail::is_vector<T> || record::detail::is_list<T>) {
    return "list of " + type_of<typename Held<T>::Type>();
  } else if constexpr (record::Enumeration<T>) {
    std::string words = "one of";
    for (const std::string_view word : record::Words<T>::words) words += " " + code(word);
    return words;
  } else {
    const std::string name = name_of<T>();
    return "[" + name + "](#" + text::lowered(name) + ")";
  }
}

template <class Owner, class Member>
std::string presence_of(const record::Field<Owner, Member>& field) {
  if (field.presence == record::Presence::required) return "required";
  if (field.presence == record::Presence::optional) return "optional";
  std::string initial;
  if constexpr (!record::detail::is_optional<Member>) {
    record::encode(Owner{}.*field.member, initial);
  }
  return "else " + code(initial);
}

// Adds the table of the record, and those of the records in it.
template <record::Record T>
void add_tables(std::vector<Table>& tables) {
  Table table{name_of<T>(), {}};
  if (std::ranges::find(tables, table.name, &Table::name) != tables.end()) return;
  const auto add_row = [&]<class Owner, class Member>(const record::Field<Owner, Member>& field) {
    table.rows.push_back({code(field.key), type_of<Member>(), presence_of(field)});
  };
  const auto add_inner = [&]<class Owner, class Member>(const record::Field<Owner, Member>&) {
    using Inner = typename Held<Member>::Type;
    if constexpr (record::Record<Inner>) add_tables<Inner>(tables);
  };
  const auto& fields = record::Schema<T>::fields;
  std::apply([&](const auto&... field) { (add_row(field), ...); }, fields);
  tables.push_back(std::move(table));
  std::apply([&](const auto&... field) { (add_inner(field), ...); }, fields);
}

void give(ArgBox& flags, const Flag& flag) {
  const ArgBox::Value values[] = {"x", std::int64_t{1}, true, std::vector<std::string>{"x"}};
  flags.values.emplace(flag.name, values[static_cast<std::size_t>(flag.kind)]);
}

// The keys of the request behind its envelope; absent when it is refused for these flags.
std::optional<std::vector<std::string>> keys_sent(Bridge bridge, const Verb& verb,
                                                  const ArgBox& flags) {
  std::string text;
  if (bridge == Bridge::notes) {
    text = record::to_text(MCPRequestBuilder::build(verb.method, flags));
  } else {
    const auto outcome = TeamworkRequestBuilder::build(verb.method, flags);
    const auto* request = std::get_if<TeamworkRequest>(&outcome);
    if (request == nullptr) return std::nullopt;
    text = record::to_text(*request);
  }
  constexpr std::size_t kEnvelope = 4;
  std::vector<std::string> keys;
  const auto document = json::parse(text);
  for (const auto& member : document->root().members()) keys.emplace_back(member.key);
  keys.erase(keys.begin(), keys.begin() + kEnvelope);
  return keys;
}

// The keys that the verb's requests can have, a "?" behind those that not every one has.
std::string carried_by(Bridge bridge, const Verb& verb) {
  ArgBox necessary;
  ArgBox all;
  for (const Flag& flag : verb.flags) {
    give(all, flag);
    if (flag.required) give(necessary, flag);
  }
  std::vector<ArgBox> calls{necessary};
  for (const Flag& flag : verb.flags) give(calls.emplace_back(necessary), flag);
  std::string carried;
  const auto every = keys_sent(bridge, verb, all);
  for (const std::string& key : every.value()) {
    const bool always = std::ranges::all_of(calls, [&](const ArgBox& flags) {
      const auto keys = keys_sent(bridge, verb, flags);
      return !keys || std::ranges::find(*keys, key) != keys->end();
    });
    carried += (carried.empty() ? "" : ", ") + code(key + (always ? "" : "?"));
  }
  return carried.empty() ? "nothing" : carried;
}

Table methods_of(Bridge bridge, const std::string& name) {
  Table table{name, {}};
  for (const Group& group : VerbTable::groups()) {
    if (group.bridge != bridge) continue;
    for (const Verb& verb : group.verbs) {
      const std::string command = "qv " + std::string(group.name) + " " + std::string(verb.name);
      table.rows.push_back({code(verb.method), code(command), carried_by(bridge, verb)});
    }
  }
  return table;
}

struct Editor {
  std::vector<Table> tables;  // those that the document has still to come to
  std::vector<std::string> complaints{};

  std::vector<std::string> edited(const std::vector<std::string>& lines) {
    constexpr std::string_view kMark = "<!-- table: ";
    std::vector<std::string> out;
    for (auto line = lines.begin(); line != lines.end();) {
      out.push_back(*line++);
      if (!out.back().starts_with(kMark)) continue;
      const std::string name =
          out.back().substr(kMark.size(), out.back().rfind(" -->") - kMark.size());
      for (int heading = 0; heading < 2 && line != lines.end(); ++heading) out.push_back(*line++);
      std::map<std::string, std::string> meanings;
      for (; line != lines.end() && line->starts_with("| "); ++line) {
        const std::size_t last = line->rfind(" | ");
        meanings[line->substr(2, line->find(" | ") - 2)] =
            line->substr(last + 3, line->size() - last - 5);
      }
      place(name, meanings, out);
    }
    for (const Table& table : tables) complaints.push_back("there is no table " + table.name);
    return out;
  }

  void place(const std::string& name, std::map<std::string, std::string>& meanings,
             std::vector<std::string>& out) {
    const auto table = std::ranges::find(tables, name, &Table::name);
    if (table == tables.end()) return complaints.push_back("nothing is known of a table " + name);
    for (const auto& row : table->rows) {
      std::string line = "| ";
      for (const std::string& cell : row) line += cell + " | ";
      const std::string& meaning = meanings[row.front()];
      if (meaning.empty()) complaints.push_back(name + " does not say what " + row.front() + " is");
      out.push_back(line + meaning + " |");
    }
    tables.erase(table);
  }
};

std::vector<std::string> lines_of(const std::string& path) {
  std::vector<std::string> lines;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) lines.push_back(line);
  return lines;
}

}  // namespace

int main(int argc, char** argv) {
  const bool writes = argc == 3 && std::string_view(argv[2]) == "--write";
  if (argc != 2 && !writes) {
    std::cerr << "usage: qv_protocol_tables DOCUMENT [--write]\n";
    return 2;
  }
  Editor editor{
      {methods_of(Bridge::teamwork, "board methods"), methods_of(Bridge::notes, "notes methods")}};
  add_tables<TeamworkRequest>(editor.tables);
  add_tables<TeamworkResponse>(editor.tables);
  add_tables<MCPBridgeRequest>(editor.tables);
  add_tables<MCPBridgeResponse>(editor.tables);
  const std::vector<std::string> before = lines_of(argv[1]);
  const std::vector<std::string> after = editor.edited(before);
  if (writes) {
    std::ofstream file(argv[1]);
    for (const std::string& line : after) file << line << "\n";
  } else if (const auto [was, is] = std::ranges::mismatch(before, after); before != after) {
    editor.complaints.push_back(
        "line " + std::to_string(was - before.begin() + 1) +
        (is == after.end() ? " should not be there" : " should be: " + *is));
  }
  for (const std::string& complaint : editor.complaints) {
    std::cerr << argv[1] << ": " << complaint << "\n";
  }
  return editor.complaints.empty() ? EXIT_SUCCESS : EXIT_FAILURE;
}
