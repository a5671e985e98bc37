# The first file holds the rows of plain-words.txt, the second the names of all files.

NR == FNR {
    if ($1 == "word") {
        row = substr($0, length("word ") + 1)
        split_at = index(row, ": ")
        words[++word_count] = substr(row, 1, split_at - 1)
        instead[word_count] = substr(row, split_at + 2)
    } else if ($1 == "skip") {
        skipped[++skipped_count] = substr($2, 1, length($2) - 1)
    }
    next
}

{
    kind = kind_of($0)
    if (kind != "" && !is_skipped($0)) {
        ++file_count
        check_file($0, kind)
    }
}

END {
    if (word_count == 0 || file_count == 0) {
        refuse("no words or no prose here")
    }
    exit refusals > 0
}

function refuse(text) {
    print text
    ++refusals
}

function is_skipped(file,    number) {
    for (number = 1; number <= skipped_count; ++number) {
        if (index(file, skipped[number]) == 1) {
            return 1
        }
    }
    return 0
}

# Scripts have no extension, or one that their language prescribes.
function kind_of(file,    extensions) {
    if (file ~ /\.(h|cpp)$/) {
        return "source"
    }
    if (file ~ /\.md$/ || file ~ /\/man\/[^\/]*\.[1-9]$/ || file ~ /\/debian\/control$/) {
        return "document"
    }
    extensions = "\\.(txt|cmake|in|map|awk|bash|fish|suppr|service|postinst|postrm|daemon)$"
    return file ~ /(^|\/)[^.\/]*$/ || file ~ extensions ? "script" : ""
}

function check_file(file, kind,    line, number) {
    inside = ""
    before = ""
    while ((getline line < file) > 0) {
        ++number
        check_text(file ":" number ": ", text_of(line, kind))
    }
    close(file)
}

function text_of(line, kind) {
    if (kind == "document") {
        return prose_of(line)
    }
    return kind == "script" ? comment_of_script(line) : test_name_of(line) comment_of_source(line)
}

# A phrase may start at the end of the line before.
function check_text(place, text,    number, joined, start) {
    if (text == "") {
        before = ""
        return
    }
    text = tolower(text)
    gsub(/[^a-z0-9']+/, " ", text)
    joined = " " before " " text " "
    gsub(/ +/, " ", joined)
    for (number = 1; number <= word_count; ++number) {
        start = last_place_of(" " words[number] " ", joined)
        if (start != 0 && start + length(words[number]) > length(before) + 1) {
            refuse(place words[number] ": " instead[number])
        }
    }
    before = text
    gsub(/^ +| +$/, "", before)
}

function last_place_of(part, text,    place, next_place) {
    place = 0
    while ((next_place = index(substr(text, place + 1), part)) != 0) {
        place += next_place
    }
    return place
}

# What a document says in its own words; `...` is the words of somebody else.
function prose_of(line) {
    gsub(/`[^`]*`/, " ", line)
    return line
}

function comment_of_script(line) {
    if (line ~ /^#!/ || !match(line, /(^|[ \t])#/)) {
        return ""
    }
    return substr(line, RSTART + RLENGTH)
}

# `inside` is the end of the comment or of the raw string that a line starts in.
function comment_of_source(line,    text, mark, place) {
    text = ""
    while (line != "") {
        if (inside != "") {
            place = index(line, inside)
            if (inside == "*/") {
                text = text " " (place == 0 ? line : substr(line, 1, place - 1))
            }
            if (place == 0) {
                return text
            }
            line = substr(line, place + length(inside))
            inside = ""
        } else if (match(line, /\/\/|\/\*|R"[^( ]*\(|"|'/)) {
            mark = substr(line, RSTART, RLENGTH)
            place = RSTART
            line = substr(line, RSTART + RLENGTH)
            if (mark == "//") {
                return text " " line
            } else if (mark == "/*") {
                inside = "*/"
            } else if (mark ~ /^R/) {
                inside = ")" substr(mark, 3, length(mark) - 3) "\""
            } else {
                line = behind_literal(line, mark)
            }
        } else {
            line = ""
        }
    }
    return text
}

# A quote without its like is one between digits, as in 1'000.
function behind_literal(line, quote,    place) {
    for (place = 1; place <= length(line); ++place) {
        if (substr(line, place, 1) == "\\") {
            ++place
        } else if (substr(line, place, 1) == quote) {
            return substr(line, place + 1)
        }
    }
    return quote == "'" ? line : ""
}

# "Suite is the sentence" of TEST_F(Suite, IsThe_Sentence).
function test_name_of(line) {
    if (line !~ /^(TYPED_)?TEST(_[A-Z])?\(/) {
        return ""
    }
    sub(/^[^(]*\(/, "", line)
    gsub(/[,_)]/, " ", line)
    while (match(line, /[a-z0-9][A-Z]/)) {
        line = substr(line, 1, RSTART) " " substr(line, RSTART + 1)
    }
    return line
}
