#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kestrane {

/// The form of commands and replies on a link that goes through the companion application: each command carries a
/// sequence number, and each reply repeats it, so that a late reply to an earlier command is not taken for the right
/// one.
///
///     to the companion    :QUAY,<number>,<command>#
///     from the companion  QUAY,<echo>,<number>,<result>#

/// The text to send for a command without a frame.
std::string WrapForCompanion(std::string_view command, std::int32_t sequence);
/// The same for a raw command, which brings a frame of its own: it loses its leading ":", and its last character when
/// the character before that is "#". Intentional: the last but one counts, so a raw ":GR#" keeps its "#" and goes out
/// as ":QUAY,7,GR##".
std::string WrapRawForCompanion(std::string_view command, std::int32_t sequence);

/// A companion's reply taken apart.
struct CompanionReply {
    bool fromCompanion = false;  ///< the reply has the companion's head
    bool hasNumber = false;
    std::string number;  ///< text of the sequence number, as it came
    std::string result;  ///< all text after it up to the end, "#" included; the whole of a reply without the head
};

CompanionReply SplitCompanionReply(std::string_view reply);

/// `text` cut before each companion's head: first a part without a head, which may be empty, then one part for each
/// head.
std::vector<std::string> CutAtCompanionHeads(std::string_view text);

}  // namespace kestrane
