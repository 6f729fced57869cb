#pragma once

// The verbs of the four groups that talk to the board: each with its method on the wire
// and its flags in the order help shows them.

#include "board/human_ask.h"
#include "cli/verb_rows.h"

namespace qv::VerbTable {

inline constexpr Flag kTaskID = required(first(task(text("taskID", "The task id, e.g. T-42."))));
inline constexpr std::string_view kIncludes[] = {"active", "all"};

inline constexpr std::string_view kUnregisterDetail =
    "The clean way to stop. Ticket briefs, progress logs and discussions become unreadable "
    "(task list drops to titles), every write is refused, anything you still hold goes back to "
    "the pool, and your seat is freed against the plan's agent limit. Leave your progress on a "
    "ticket BEFORE you call this.";

inline constexpr std::string_view kAssignDetail =
    "The handle is an ADDRESS, not a permission: the board still checks the caller's own pane "
    "and seat. A task is aimed at ONE agent, so assigning over a standing aim takes the work "
    "off whoever held it, and both of you are told.";

inline constexpr std::string_view kMessageDetail =
    "The SMALL channel. Work and its answer travel on the board, because that is what survives "
    "a machine going to sleep and what the person can still see afterwards. A note is not a "
    "way to hand over work. A terminal on another of your Macs is reached by its qualified "
    "handle (KQ3@laptop); the note is sealed before it leaves this machine and arrives when "
    "that one next looks.";

inline constexpr std::string_view kSuggestDetail =
    "Nothing runs from this. The suggestion waits in the Squad drawer until the person reads "
    "it and adds it, possibly changed, or declines it. One simple command: no ;, pipes, "
    "redirects or $(. Quorvel adds its own opening line at the end, or where {prompt} stands. "
    "A second suggestion with the same name replaces the first.";

inline constexpr std::string_view kHandsDetail =
    "Files the work as a ticket, or takes one already here with --taskID, and starts a "
    "helper in a terminal of its own to do it. The helper reads the ticket and nothing else, "
    "so the brief has to stand alone. You are woken when it finishes, when it is free again, "
    "or when it could not be started. With --to the work goes to another of your Macs, which "
    "decides for itself what it accepts. Every helper counts against this thread's limit "
    "until somebody stops it.";

inline constexpr std::string_view kStopDetail =
    "Stopping cancels what the helper is doing, and the tasks it held go back to the pool. "
    "Only whoever asked for a helper, an agent further up that chain of asking, or the "
    "person can stop it, and the helpers it asked for stop with it. Read its result first, "
    "then stop it: a finished helper still counts against the limit."
    " From here that is `qv squad stop <handle>`.";

inline constexpr Flag kTaskAddFlags[] = {
    required(first(text("title", "One-line task title."))),
    text("body", "The brief: approach, boundary, done-when."),
    text("summary", "1-2 plain sentences for the human. Capped at 280."),
    task(list("waitsOn", "Task ids this one is blocked behind.")),
    number("priority", "Higher sorts first."),
    text("type", "Task type tag."),
    list("resources", "Resources this task will hold."),
    text("assignedRole", "Route to a role instead of the pool."),
    text("routedToFingerprint", "Route to one specific seat."),
    peer(text("to",
              "File it ALREADY HANDED to a peer, by handle (e.g. KQ3). One write instead "
              "of add-then-assign, so nobody can claim it in between. It wakes them and "
              "leaves everyone else's pool."))};
inline constexpr Flag kTaskListFlags[] = {one_of(
    kIncludes, text("include", "\"active\" (default) or \"all\" to include done/rejected."))};
inline constexpr Flag kTaskReadFlags[] = {kTaskID, number("offset", "First body line to print."),
                                          number("limit", "How many body lines to print."),
                                          number("logOffset", "First log line to print."),
                                          number("logLimit", "How many log lines to print.")};
inline constexpr Flag kTaskClaimFlags[] = {kTaskID};
inline constexpr Flag kTaskUpdateFlags[] = {
    first(task(text("taskID", "The task id. Omit to address the board itself."))),
    text("progress", "One line appended to the task log."),
    text("summary", "Replace the human-facing gist."),
    text("title", "Retitle the task."),
    text("body", "Replace the brief."),
    boolean("blocked", "Raise or clear a blocker."),
    text("blockerQuestion", "What the human must answer."),
    one_of(TeamworkHumanAsk::kKinds, text("blockerKind", "Typed blocker kind.")),
    list("blockerOptions", "Choices the human picks from."),
    text("blockerSecretName", "Name of the credential needed."),
    text("blockerArtifact", "Artifact the human must supply."),
    text("blockerConsequence", "What stays broken until answered."),
    text("parkReason", "Why this task is parked."),
    task(list("waitsOn", "Task ids this one waits on.")),
    number("priority", "Higher sorts first."),
    text("type", "Task type tag."),
    list("resource", "Resources this task holds."),
    text("assignedRole", "Route to a role.")};
inline constexpr Flag kTaskCompleteFlags[] = {
    kTaskID, required(text("summary", "Outcome plus how it was verified. Required."))};
inline constexpr Flag kTaskRejectFlags[] = {kTaskID, text("reason", "Why.")};
inline constexpr Flag kTaskDeleteFlags[] = {kTaskID, text("reason", "Why.")};
inline constexpr Flag kTaskReleaseFlags[] = {kTaskID};
inline constexpr Flag kTaskWatchFlags[] = {kTaskID};
inline constexpr Flag kTaskUnwatchFlags[] = {kTaskID};
inline constexpr Flag kTaskRequestReleaseFlags[] = {kTaskID, text("reason", "Why you need it.")};
inline constexpr Flag kTaskReviewFlags[] = {
    kTaskID, text("ofAgent", "Fingerprint of the reviewer."), text("ofRole", "Role to review it."),
    text("note", "What to look at.")};
inline constexpr Flag kTaskVerifyFlags[] = {
    kTaskID, required(boolean("approve", "true to approve, false to send back.")),
    text("note", "Verdict note.")};
inline constexpr Flag kTaskCommentFlags[] = {
    kTaskID, text("text", "The comment."), text("summary", "Also refresh the human gist."),
    peer(list("tags", "@-tag these agents.")),
    boolean("editLast", "Amend your previous comment instead.")};

inline constexpr Verb kTaskVerbs[] = {
    {"add", "add_task", "File a new task. It is real work and claimable at once.", kTaskAddFlags},
    {"list", "list_tasks", "Read the backlog as a grouped briefing.", kTaskListFlags},
    {"read",
     "read_task",
     "Read one task in full, with its log.",
     kTaskReadFlags,
     {},
     kEmptyMeansNotFound},
    {"claim", "claim_task", "Take a READY task. A claim is a lease and lapses if you stop.",
     kTaskClaimFlags},
    {"update", "update_task", "Append progress to a task you hold, or change its fields.",
     kTaskUpdateFlags},
    {"complete", "complete_task", "Mark a task done. The summary is required and gated.",
     kTaskCompleteFlags},
    {"reject", "reject_task", "Reject a task as not-to-be-done.", kTaskRejectFlags},
    {"delete", "delete_task", "Delete a task outright.", kTaskDeleteFlags},
    {"release", "release_task", "Hand a claimed task back to the pool.", kTaskReleaseFlags},
    {"watch", "watch_task", "Follow a task without claiming it.", kTaskWatchFlags},
    {"unwatch", "unwatch_task", "Stop following a task.", kTaskUnwatchFlags},
    {"request-release", "request_release", "Ask the holder of a claimed task to hand it back.",
     kTaskRequestReleaseFlags},
    {"review", "request_review", "Ask a peer to review a task.", kTaskReviewFlags},
    {"verify", "verify_task", "Approve or reject a task under review.", kTaskVerifyFlags},
    {"comment", "comment_task", "Comment on a task. Refreshes a claim-free summary.",
     kTaskCommentFlags},
};

inline constexpr Flag kBoardRegisterFlags[] = {first(text("name", "Your display name.")),
                                               text("role", "The role you are taking."),
                                               text("status", "What you are doing right now.")};
inline constexpr Flag kBoardHeartbeatFlags[] = {
    first(text("status", "What you are doing right now."))};
inline constexpr Flag kBoardPlanFlags[] = {number("offset", "First line."),
                                           number("limit", "How many lines.")};
inline constexpr Flag kBoardGoalFlags[] = {
    first(text("description", "The goal — what the board is working toward.")),
    text("name", "Deprecated alias for --description."),
    text("purpose", "Why, so an agent can decide an unanticipated case."),
    text("constraints", "What it must not do."),
    text("nonGoals", "What is explicitly out of scope."),
    text("acceptableRisk", "What risk is tolerable.")};
inline constexpr Flag kBoardCharterFlags[] = {required(first(text("name", "The charter text.")))};

inline constexpr Verb kBoardVerbs[] = {
    {"register", "register", "Take a seat on this Thread's board. Do this first.",
     kBoardRegisterFlags},
    {"unregister",
     "unregister",
     "Leave the board. You lose ticket briefs, logs and every write.",
     {},
     kUnregisterDetail},
    {"heartbeat", "heartbeat", "Keep your seat and lease alive.", kBoardHeartbeatFlags},
    {"agents", "list_agents", "Who else is live on this board.", {}},
    {"plan", "read_plan", "The Thread's goal and its nextStep.", kBoardPlanFlags},
    {"goal", "set_goal",
     "Set the single goal this board is working toward. Describes the work; it does not "
     "title the Thread.",
     kBoardGoalFlags},
    {"charter", "set_charter", "Set the board's standing charter.", kBoardCharterFlags},
    {"propose-complete",
     "propose_goal_complete",
     "Propose the goal is fully done. The human confirms.",
     {}},
};

inline constexpr Flag kSquadAssignFlags[] = {
    kTaskID,
    required(second(peer(text("to", "The peer's handle from `qv board agents`, e.g. KQ3."))))};
inline constexpr Flag kSquadMessageFlags[] = {
    required(first(peer(text("to", "The peer's handle, e.g. KQ3.")))),
    required(second(text("text", "The note. One or two sentences. Use - to read stdin.")))};
inline constexpr Flag kSquadHandsFlags[] = {
    first(text("title", "One line naming NEW work. Omit it when you pass --taskID.")),
    second(text("brief", "The brief: approach, boundary, done-when. Use - for stdin.")),
    task(text("taskID", "A ticket already on the board, taken instead of filing a copy.")),
    text("to",
         "Another of your Macs, by tag (@laptop), when the terminal should open "
         "there. It has to be awake."),
    text("agent",
         "The helper to start, by name as `qv board agents` lists it. Required when "
         "more than one is allowed.")};
inline constexpr Flag kSquadStopFlags[] = {required(
    unlisted(peer(text("to",
                       "The helper's handle, as `qv board agents` lists it under HELPERS RUNNING "
                       "HERE."))))};
inline constexpr Flag kSquadSuggestFlags[] = {
    first(text("name", "What to call it, as agents will ask for it.")),
    second(text("command", "The command line that starts it, e.g. \"claude --model sonnet\".")),
    text("explanation", "What other agents should know to choose it."),
    text("reason", "Why you want it, for the person.")};

inline constexpr Verb kSquadVerbs[] = {
    {"assign", "assign_task", "Hand a task to a peer by handle. Wakes them.", kSquadAssignFlags,
     kAssignDetail},
    {"message", "send_message", "Leave a peer one short note.", kSquadMessageFlags, kMessageDetail},
    {"inbox", "read_messages", "Read the notes peers left you, and clear them.", {}},
    {"hands", "request_hands", "Get a terminal with an agent in it onto a ticket.",
     kSquadHandsFlags, kHandsDetail},
    {"stop", "stop_helper", "Stop a helper you asked for (or one your helpers asked for).",
     kSquadStopFlags, kStopDetail},
    {"suggest", "suggest_helper", "Ask the person to add a helper a pair of hands can start as.",
     kSquadSuggestFlags, kSuggestDetail},
};

inline constexpr Flag kDiscussOpenFlags[] = {
    required(first(text("question", "What is in doubt."))),
    task(text("taskID", "Attach to a task. Omit for the board.")),
    peer(list("addressTo", "Address specific agents."))};
inline constexpr Flag kDiscussReplyFlags[] = {
    required(first(debate(text("discussionID", "The debate id.")))),
    required(second(text("text", "Your reply.")))};
inline constexpr Flag kDiscussResolveFlags[] = {
    required(first(debate(text("discussionID", "The debate id.")))),
    required(second(text("resolution", "The verdict.")))};

inline constexpr Verb kDiscussVerbs[] = {
    {"open", "open_discussion", "Open a debate. Omit taskID for a board-level one.",
     kDiscussOpenFlags},
    {"reply", "reply_discussion", "Reply to an open debate.", kDiscussReplyFlags},
    {"resolve", "resolve_discussion", "Close a debate with a verdict.", kDiscussResolveFlags},
};

}  // namespace qv::VerbTable
