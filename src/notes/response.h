#pragma once

// The one reply every notes request gets.

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/record.h"

namespace qv {

// One note of a listing.
struct MCPNoteSummary {
  std::string name;
  std::string summary;
  std::vector<std::string> sections;
  std::string notebook;
  std::optional<std::string> notebookId;
  std::int64_t lines = 0;
  std::string lastEditedBy;
  std::optional<bool> readOnly;
  std::optional<std::string> home;
};

template <>
struct record::Schema<MCPNoteSummary> {
  static constexpr auto fields = std::tuple{
      required("name", &MCPNoteSummary::name),
      required("summary", &MCPNoteSummary::summary),
      required("sections", &MCPNoteSummary::sections),
      required("notebook", &MCPNoteSummary::notebook),
      optional("notebookId", &MCPNoteSummary::notebookId),
      required("lines", &MCPNoteSummary::lines),
      required("lastEditedBy", &MCPNoteSummary::lastEditedBy),
      optional("readOnly", &MCPNoteSummary::readOnly),
      optional("home", &MCPNoteSummary::home),
  };
};

// One notebook of a listing; `notes` is how many notes it holds.
struct MCPNotebookSummary {
  std::optional<std::string> id;
  std::string name;
  std::int64_t notes = 0;
  std::string access;
  std::optional<std::string> channelSpace;
};

template <>
struct record::Schema<MCPNotebookSummary> {
  static constexpr auto fields = std::tuple{
      optional("id", &MCPNotebookSummary::id),
      required("name", &MCPNotebookSummary::name),
      required("notes", &MCPNotebookSummary::notes),
      required("access", &MCPNotebookSummary::access),
      optional("channelSpace", &MCPNotebookSummary::channelSpace),
  };
};

// One note's text; `section` is set when only that section was read.
struct MCPNoteBody {
  std::string name;
  std::optional<std::string> section;
  std::string content;
  std::optional<std::string> notebook;
  std::optional<std::string> lastEditedBy;
  std::optional<bool> readOnly;
  std::optional<std::string> home;
};

template <>
struct record::Schema<MCPNoteBody> {
  static constexpr auto fields = std::tuple{
      required("name", &MCPNoteBody::name),
      optional("section", &MCPNoteBody::section),
      required("content", &MCPNoteBody::content),
      optional("notebook", &MCPNoteBody::notebook),
      optional("lastEditedBy", &MCPNoteBody::lastEditedBy),
      optional("readOnly", &MCPNoteBody::readOnly),
      optional("home", &MCPNoteBody::home),
  };
};

// Folders that nobody may write to just now.
struct MCPFolderLock {
  enum class Scope { thread, terminal };

  std::vector<std::string> paths;
  Scope scope = Scope::thread;
};

template <>
struct record::Words<MCPFolderLock::Scope> {
  static constexpr std::array<std::string_view, 2> words = {"thread", "terminal"};
};

template <>
struct record::Schema<MCPFolderLock> {
  static constexpr auto fields = std::tuple{
      required("paths", &MCPFolderLock::paths),
      required("scope", &MCPFolderLock::scope),
  };
};

struct MCPBridgeResponse {
  enum class Kind { notes, folderLock, note, written, subscriptionRequired, empty, error };

  Kind kind = Kind::empty;
  std::optional<std::vector<MCPNoteSummary>> notes;
  std::optional<std::vector<MCPNotebookSummary>> notebooks;
  std::optional<MCPNoteBody> note;
  std::optional<std::string> message;
  std::optional<std::string> subscribeURL;
  std::optional<std::string> notice;
  std::optional<std::string> threadName;
  std::optional<MCPFolderLock> folderLock;
  std::optional<std::string> threadTag;
  std::optional<std::string> writeNotice;
};

template <>
struct record::Words<MCPBridgeResponse::Kind> {
  static constexpr std::array<std::string_view, 7> words = {
      "notes", "folderLock", "note", "written", "subscriptionRequired", "empty", "error"};
};

template <>
struct record::Schema<MCPBridgeResponse> {
  static constexpr auto fields = std::tuple{
      required("kind", &MCPBridgeResponse::kind),
      optional("notes", &MCPBridgeResponse::notes),
      optional("notebooks", &MCPBridgeResponse::notebooks),
      optional("note", &MCPBridgeResponse::note),
      optional("message", &MCPBridgeResponse::message),
      optional("subscribeURL", &MCPBridgeResponse::subscribeURL),
      optional("notice", &MCPBridgeResponse::notice),
      optional("threadName", &MCPBridgeResponse::threadName),
      optional("folderLock", &MCPBridgeResponse::folderLock),
      optional("threadTag", &MCPBridgeResponse::threadTag),
      optional("writeNotice", &MCPBridgeResponse::writeNotice),
  };
};

// Compiled once, in response.cpp, as the board's replies are.
extern template bool record::decode(json::Value value, MCPBridgeResponse& out);
extern template std::optional<MCPBridgeResponse> record::from_text(std::string_view text);
extern template std::string record::to_text(const MCPBridgeResponse& in, json::Slashes slashes);

}  // namespace qv
