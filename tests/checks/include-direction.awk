# The first file holds the rows of floors.txt, the second the names of all sources.

NR == FNR {
    if ($1 == "floor") {
        allowed[$2] = " " $0 " "
        has_rooms[top_of($2)] += $2 ~ /\//
    } else if ($1 == "header") {
        owner[$2] = $3
    } else if ($1 == "system") {
        patterns[++pattern_count] = $2
    }
    next
}

{
    sources[++source_count] = $0
    is_source[$0] = 1
}

END {
    for (number = 1; number <= source_count; ++number) {
        check_source(sources[number])
    }
    if (source_count == 0) {
        refuse("no sources here")
    }
    exit refusals > 0
}

function refuse(text) {
    print text
    ++refusals
}

function top_of(path) {
    sub(/\/.*/, "", path)
    return path
}

function floor_of(source,    parts, count) {
    if (sub(/^include\//, "", source)) {
        return owner[source]
    }
    count = split(source, parts, "/")
    if (count > 2 && has_rooms[parts[1]]) {
        return parts[1] "/" parts[2]
    }
    return parts[1] == "src" ? parts[2] : parts[1]
}

function check_source(source,    line, number) {
    if (!(floor_of(source) in allowed)) {
        refuse(source ": belongs to no floor")
        return
    }
    while ((getline line < source) > 0) {
        ++number
        if (line ~ /^[ \t]*#[ \t]*include/) {
            check_include(source, source ":" number ": ", line)
        }
    }
    close(source)
}

function check_include(source, place, line,    name, target, from, to) {
    name = line
    if (!sub(/^[ \t]*#[ \t]*include[ \t]*[<"]/, "", name) || !sub(/[>"].*/, "", name) ||
        name ~ /\.\.\//) {
        refuse(place "an include names its file from its root: " line)
        return
    }
    from = floor_of(source)
    target = target_of(source, name)
    if (target == "") {
        if (source ~ /^include\// && !is_system(name)) {
            refuse(place "a public header may not include " name)
        }
        return
    }
    to = floor_of(target)
    if (!may_use(from, to, target)) {
        refuse(place from " may not include " name ", which belongs to " to)
    }
}

# The project's file that an include names, or "" when it names none.
function target_of(source, name,    beside) {
    beside = source
    sub(/[^\/]*$/, name, beside)
    if (beside in is_source) {
        return beside
    }
    if (("include/" name) in is_source) {
        return "include/" name
    }
    if (("src/" name) in is_source) {
        return "src/" name
    }
    beside = top_of(source) "/" name
    if (beside in is_source) {
        return beside
    }
    return name in is_source ? name : ""
}

function may_use(from, to, target) {
    if (from == to || index(allowed[from], " " to " ")) {
        return 1
    }
    return target ~ /^include\// && index(allowed[from], " public ")
}

function is_system(name,    number) {
    for (number = 1; number <= pattern_count; ++number) {
        if (name ~ patterns[number]) {
            return 1
        }
    }
    return 0
}
