# Turns a part of a document in docs/ into a part of a manual page.
#
#   awk -v part="## Options" -f section.awk docs/cvtagentd.md
#
# The part ends at the next heading of its level; headings in it become subsections. An empty `part` means the whole
# document without its title. `skip` names a heading, in full, whose part is left out. Of Markdown it knows what docs/
# uses: headings, paragraphs, lists, tables, blocks of code, quotations, links, code and strong words.

function plain(text) {
    gsub(/\\/, "\\e", text)
    return text
}

# marked(text): code and strong words in bold, links by their text.
function marked(text,    out, at, end, word) {
    while (match(text, /\[[^][]*\]\([^()]*\)/)) {
        word = substr(text, RSTART + 1, RLENGTH - 1)
        sub(/\]\(.*/, "", word)
        text = substr(text, 1, RSTART - 1) word substr(text, RSTART + RLENGTH)
    }
    out = ""
    while ((at = index(text, "`")) > 0) {
        end = index(substr(text, at + 1), "`")
        if (end == 0) break
        word = plain(substr(text, at + 1, end - 1))
        gsub(/-/, "\\-", word)
        out = out strong(plain(substr(text, 1, at - 1))) "\\fB" word "\\fP"
        text = substr(text, at + end + 1)
    }
    return out strong(plain(text))
}

function strong(text,    open) {
    open = 1
    while (sub(/\*\*/, open ? "\\fB" : "\\fP", text)) open = !open
    return text
}

# A line that begins like a request is text all the same.
function say(text) {
    if (text ~ /^[.']/) text = "\\&" text
    print text
}

function flush() {
    if (pending != "") say(marked(pending))
    pending = ""
}

function level(heading) {
    match(heading, /^#+/)
    return RLENGTH
}

# row(line): the first cell is the term, the others are its text. Headers of columns say nothing in a page.
function row(line,    cells, count, i, text) {
    if (line ~ /^\|[-| :]+\|$/) return
    if (!intable) { intable = 1; return }
    gsub(/\\\|/, "\001", line)
    sub(/^\| */, "", line)
    sub(/ *\|$/, "", line)
    count = split(line, cells, / *\| */)
    print ".TP"
    for (i = 1; i <= count; ++i) {
        gsub(/\001/, "|", cells[i])
        gsub(/^ +| +$/, "", cells[i])
    }
    say(marked(cells[1]))
    text = ""
    for (i = 2; i <= count; ++i) {
        if (cells[i] == "") continue
        if (i == 3 && defaults) cells[i] = "Default: " cells[i] (cells[i] ~ /\.$/ ? "" : ".")
        text = text (text == "" ? "" : text ~ /[.!?]$/ ? " " : defaults ? ". " : "; ") cells[i]
    }
    say(text == "" ? "\\&" : marked(text))
}

BEGIN { inside = part == ""; depth = part == "" ? 1 : level(part) }

/^```/ && inside {
    flush()
    code = !code
    if (code) print ".PP\n.RS 4\n.nf"
    else print ".fi\n.RE"
    next
}
/^```/ { code = !code; next }
code { if (inside) say(plain($0)); next }

/^#+ / {
    if (inside) flush()
    if ($0 == part) { inside = 1; next }
    if (inside && part != "" && level($0) <= depth) inside = 0
    if (skipping && level($0) <= skipping) skipping = 0
    if ($0 == skip) skipping = level($0)
    intable = 0
    if (!inside || skipping || level($0) == 1) next
    sub(/^#+ /, "")
    print ".SS " marked($0)
    next
}
!inside || skipping { next }

/^\|/ {
    flush()
    if (!intable) defaults = $0 ~ /\| default \|$/
    row($0)
    next
}
{ if (intable) { intable = 0; if ($0 != "") print ".PP" } }

/^$/ { flush(); print ".PP"; next }
/^- / { flush(); print ".IP \\(bu 2"; pending = substr($0, 3); next }
/^[0-9]+\. / { flush(); print ".IP " $1 " 3"; sub(/^[0-9]+\. /, ""); pending = $0; next }
{ sub(/^(> |  +)/, ""); pending = pending (pending == "" ? "" : " ") $0 }
END { if (inside) flush() }
