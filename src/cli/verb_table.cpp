// Everything about a verb that is data stands in one table: dispatch looks names up in
// it, the parser checks flags against it, help prints it, and the bridge drivers take the
// wire method from it. A new verb is a new row in verbs_board.h or verbs_notes.h. The
// table is constant data; nothing of it is built when the program starts.

#include "cli/verb_table.h"

#include "cli/verbs_board.h"
#include "cli/verbs_notes.h"

namespace qv::VerbTable {

namespace {

constexpr Group kGroups[] = {
    {"task", "The backlog: add, claim, progress, complete.", Bridge::teamwork, kTaskVerbs},
    {"board", "Your seat, the roster, the goal and the charter.", Bridge::teamwork, kBoardVerbs},
    {"squad", "Hand work to another terminal here. `qv board agents` says what this Thread allows.",
     Bridge::teamwork, kSquadVerbs},
    {"discuss", "Board debates: raise, reply, resolve.", Bridge::teamwork, kDiscussVerbs},
    {"note", "This room's working notes.", Bridge::notes, kNoteVerbs},
    {"notebook", "Notebooks in the user's library.", Bridge::notes, kNotebookVerbs},
};

}  // namespace

std::span<const Group> groups() { return kGroups; }

const Group* group(std::string_view name) {
  for (const Group& candidate : kGroups) {
    if (candidate.name == name) return &candidate;
  }
  return nullptr;
}

}  // namespace qv::VerbTable
