# Turns the comments of a public header into Doxygen's, line by line, for the reference:
# - a comment right above declarations tells about all of them down to the next comment or empty line;
# - a comment before the first directive after the header's guard tells about the file;
# - a comment behind code on the same line tells about that code.
# What every reader knows is left out where it has no comment: destructors, plain copies and moves, and members that are
# defaulted or deleted.

function is_comment_start(text) { return text ~ /^ *(\/\*|\/\/\/)/ }

# Doxygen's form of a comment behind code.
function with_trailing(text) {
    if (text ~ /[;,{}A-Z0-9)] +\/\* .*\*\/$/) {
        sub(/\/\* /, "/**< ", text)
    } else if (text ~ /[;,] +\/\/ /) {
        sub(/\/\/ /, "///< ", text)
    }
    return text
}

function is_obvious(text,    name) {
    if (text !~ /[;}]$/) {
        return 0
    }
    if (text ~ /= (default|delete);$/ || text ~ /^ *(virtual )?~[A-Za-z]+\(\)/) {
        return 1
    }
    # NAME(const NAME&), NAME(NAME&&) and the assignments of that kind.
    if (text ~ /^ *[A-Za-z]+& operator=\((const )?[A-Za-z]+&/) {
        return 1
    }
    name = text
    sub(/^ */, "", name)
    sub(/\(.*/, "", name)
    sub(/^[^(]*\((const )?/, "", text)
    return name ~ /^[A-Za-z]+$/ && index(text, name "&") == 1
}

# The number of declarations in the lines from first on, up to last or the end of their class, which is left in
# declared_to; 0 when one of them stays open.
function declarations(first, last,    i, depth, count, text) {
    depth = 0
    count = 0
    declared_to = last
    for (i = first; i <= last; ++i) {
        text = line[i]
        sub(/ *\/\*.*\*\/$/, "", text)
        sub(/ *\/\/.*$/, "", text)
        if (text ~ /^#define /) {
            ++count
            continue
        }
        depth += gsub(/[{(]/, "&", text) - gsub(/[})]/, "&", text)
        if (depth < 0) {
            declared_to = i - 1
            return count
        }
        if (depth == 0 && text ~ /[;}]$/) {
            ++count
        }
    }
    return depth == 0 ? count : 0
}

# Writes the lines between two empty ones.
function flush_paragraph(    i, end, next_comment) {
    for (i = 1; i <= n; ++i) {
        if (!is_comment_start(line[i]) && line[i - 1] !~ /^ *\/\/\/|\*\/$/ && is_obvious(line[i])) {
            line[i] = ""
        }
        line[i] = with_trailing(line[i])
    }
    for (i = 1; i <= n;) {
        if (!is_comment_start(line[i])) {
            print line[i++]
            continue
        }
        end = i
        if (line[i] ~ /^ *\/\*/) {
            while (end < n && line[end] !~ /\*\/$/) { ++end }
            sub(/\/\*/, at_file ? "  " : "/**", line[i])
        } else {
            while (end < n && line[end + 1] ~ /^ *\/\/\//) { ++end }
        }
        next_comment = end + 1
        while (next_comment <= n && !is_comment_start(line[next_comment]) && line[next_comment] !~ /^#(if|else|endif)/) {
            ++next_comment
        }
        if (!at_file && declarations(end + 1, next_comment - 1) > 1) {
            sub(/^ */, "&/**@{*/ ", line[i])
            # Behind a macro it would be taken for the macro's value: it goes to the empty line that follows.
            if (line[declared_to] ~ /^#define/ && declared_to == n) {
                closing = "/**@}*/"
            } else {
                line[declared_to] = line[declared_to] " /**@}*/"
            }
        }
        at_file = 0
        while (i < next_comment) { print line[i++] }
    }
    n = 0
}

# An empty line inside a comment parts nothing.
/^ *\/\*/ && !/\*\// { inside_comment = 1 }
/\*\/$/ { inside_comment = 0 }
/^$/ && !inside_comment {
    closing = ""
    flush_paragraph()
    # The empty line behind the guard; what follows may be the file's own comment.
    if (behind_guard) {
        getline following
        if (following ~ /^\/\*/) {
            print "/** @file"
            at_file = 1
        } else {
            print "/** @file */"
        }
        behind_guard = 0
        inside_comment = following ~ /^\/\*/ && following !~ /\*\/$/
        line[++n] = following
        next
    }
    print closing
    next
}
/^#define DORNIMAGE_[A-Z0-9_]+_H$/ { behind_guard = 1 }
{ line[++n] = $0 }
END { flush_paragraph() }
