// The ids, whatever their order.

/// Empty when there
/// is none.
constexpr int limit = 1'000; // Read anew, "as always".
/* One line,
   and the next one tells more. */
const char* const contract = "whatever // whom";
const char* const quoted = "\"anew"; const char mark = '"'; // told
const char* const raw = R"(
    // whatever
)"; // whom
// Plain: a new file, until the end.
