#pragma once

// The verbs of the two groups that talk to the notes bridge.

#include "cli/verb_rows.h"

namespace qv::VerbTable {

inline constexpr Flag kNoteName = required(first(note(text("name", "The note name."))));

inline constexpr Flag kNoteListFlags[] = {
    first(note(text("name", "Filter to one note."))), text("section", "Filter to one section."),
    number("offset", "First line."), number("limit", "How many lines.")};
inline constexpr Flag kNoteReadFlags[] = {kNoteName, text("section", "Read one section only."),
                                          number("offset", "First line."),
                                          number("limit", "How many lines.")};
inline constexpr Flag kNoteHistoryFlags[] = {
    kNoteName, number("after", "Only revisions after this one, with a diff since."),
    text("milestone", "Only what came after this milestone, with a diff since.")};
inline constexpr Flag kNoteLockFlags[] = {kNoteName, text("why", "Why it should be frozen.")};
inline constexpr Flag kNoteMilestoneFlags[] = {
    kNoteName, required(second(text("milestone", "The handoff, e.g. 'sent to build v1'."))),
    number("revision", "Name this revision instead of the newest.")};
inline constexpr Flag kNoteCreateFlags[] = {
    required(first(text("name", "The note name."))),
    required(second(text("body", "Markdown body. Use - to read stdin."))),
    text("description", "One-line summary."),
    text("why", "Why it was written, kept in its history.")};
inline constexpr Flag kNoteUpdateFlags[] = {
    kNoteName, required(second(text("body", "Markdown body. Use - to read stdin."))),
    required(text("why", "Why you are changing it, kept in its history."))};
inline constexpr Flag kNoteAppendFlags[] = {
    kNoteName, required(second(text("body", "Markdown to add. Use - to read stdin."))),
    required(text("why", "Why you are adding it, kept in its history."))};
inline constexpr Flag kNoteEditFlags[] = {
    kNoteName, required(second(text("find", "The exact text to replace."))),
    required(third(text("body", "What to put in its place. Use - to read stdin."))),
    boolean("all", "Replace every occurrence."),
    required(text("why", "Why you are changing it, kept in its history."))};
inline constexpr Flag kNoteRenameFlags[] = {required(first(note(text("name", "Current name.")))),
                                            required(second(text("newName", "New name.")))};
inline constexpr Flag kNoteDeleteFlags[] = {kNoteName};
inline constexpr Flag kNoteMoveFlags[] = {
    kNoteName, required(second(notebook(text("notebook", "Destination notebook."))))};

inline constexpr Verb kNoteVerbs[] = {
    {"list", "list_notes", "List the notes in this room.", kNoteListFlags},
    {"read", "read_note", "Read a note.", kNoteReadFlags, {}, kEmptyMeansNotFound},
    {"history",
     "note_history",
     "A note's revisions: who changed it, when and why.",
     kNoteHistoryFlags,
     {},
     kEmptyMeansNotFound},
    {"lock",
     "lock_note",
     "Make a note read-only. Only the person can unlock it.",
     kNoteLockFlags,
     {},
     kEmptyMeansNotFound},
    {"milestone",
     "mark_milestone",
     "Name a note's current revision as a handoff point.",
     kNoteMilestoneFlags,
     {},
     kEmptyMeansNotFound},
    {"create", "create_note", "Create a note in this room.", kNoteCreateFlags},
    {"update", "update_note", "Replace a note's body.", kNoteUpdateFlags},
    {"append", "append_note", "Add text to the end of a note.", kNoteAppendFlags},
    {"edit", "edit_note", "Replace one piece of a note's text.", kNoteEditFlags},
    {"rename", "rename_note", "Rename a note.", kNoteRenameFlags},
    {"delete", "delete_note", "Delete a note.", kNoteDeleteFlags},
    {"move", "move_note", "Move a note into one of the user's notebooks.", kNoteMoveFlags},
};

inline constexpr Flag kNotebookCreateFlags[] = {required(first(text("name", "Notebook name.")))};
inline constexpr Flag kNotebookRenameFlags[] = {
    required(first(notebook(text("name", "Current name.")))),
    required(second(text("newName", "New name")))};
inline constexpr Flag kNotebookDeleteFlags[] = {
    required(first(notebook(text("name", "Notebook name."))))};

inline constexpr Verb kNotebookVerbs[] = {
    {"create", "create_notebook", "Create a notebook.", kNotebookCreateFlags},
    {"rename", "rename_notebook", "Rename a notebook.", kNotebookRenameFlags},
    {"delete", "delete_notebook", "Delete a notebook.", kNotebookDeleteFlags},
};

}  // namespace qv::VerbTable
