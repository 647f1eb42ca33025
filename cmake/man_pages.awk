# Writes the man pages from the public header, which is the manual: ambielf(7), the overview, with the conventions,
# the functions by group, the records and all codes; and a page in section 3 for each exported function.
#
# awk -v names=cmake/exports.txt -v errors=docs/errors.md -v version=0.1.0 -v date=2026-01-01 -v folder=man
#   -f man_pages.awk ambielf.h
#
# It knows the header's few forms: a comment that begins with /** in the first column stands before what it
# describes, @param, @return and @codes begin the parts of an entry, @name begins a group, and /**< ... */ describes
# the member before it. The text of @codes is a list of items, "88, 89, 17 no seek", divided by semicolons; a label like
# "Writing:" may begin a sentence of them.

function trim(s) { gsub(/^[ \t]+|[ \t]+$/, "", s); return s }

# Text becomes roff: names of functions become references, `quoted` names italics.
function roff(s,  parts, n, i, out, word, name) {
  gsub(/\\/, "\\e", s)
  n = split(s, parts, "`")
  out = parts[1]
  for (i = 2; i <= n; i++) out = out (i % 2 == 0 ? "\\fI" : "\\fP") parts[i]
  n = split(out, parts, " ")
  out = ""
  for (i = 1; i <= n; i++) {
    word = parts[i]
    if (match(word, /elf(32)?_[a-z0-9]+/) && (substr(word, RSTART, RLENGTH) in exported) &&
        substr(word, RSTART + RLENGTH, 1) != "(") {
      name = substr(word, RSTART, RLENGTH)
      word = substr(word, 1, RSTART - 1) "\\fB" name "\\fP" (name == page ? "" : "(3)") substr(word, RSTART + RLENGTH)
      if (name != page && index(cited " ", " " name " ") == 0) cited = cited " " name
    }
    if (match(word, /(^|[(])-[0-9]/)) sub(/-/, "\\-", word)
    out = out (i > 1 ? " " : "") word
  }
  return out
}

# Prints text in lines that an editor shows whole. A line must not begin like a request.
function put(file, s,  words, n, i, line) {
  n = split(roff(s), words, " ")
  line = ""
  for (i = 1; i <= n; i++) {
    if (line != "" && length(line) + length(words[i]) > 76) {
      print line > file
      line = ""
    }
    if (line == "" && words[i] ~ /^[.']/) words[i] = "\\&" words[i]
    line = line (line != "" ? " " : "") words[i]
  }
  if (line != "") print line > file
}

# Paragraphs are divided by a line feed.
function put_paragraphs(file, s,  parts, n, i) {
  n = split(s, parts, "\n")
  for (i = 1; i <= n; i++) {
    if (trim(parts[i]) == "") continue
    if (i > 1) print ".PP" > file
    put(file, parts[i])
  }
}

function open_page(name, section,  file) {
  file = folder "/man" section "/" name "." section
  print "'\\\" t\n.TH " toupper(name) " " section " " date " \"ambielf " version "\" \"ambielf\"" > file
  print ".ad l\n.nh\n.SH NAME" > file
  page = name
  cited = ""
  return file
}

function first_sentence(s,  at) {
  sub(/\n.*/, "", s)
  at = index(s, ". ")
  if (at == 0) at = length(s)
  s = substr(s, 1, at - 1)
  sub(/:$/, "", s)
  return s
}

# --- @codes: a table of code, words and reason. ---

function put_row(file, code, when) {
  print code "\tT{" > file
  if (code == "") print "T}\tT{" > file
  else {
    put(file, (code in words_of) ? words_of[code] : "?")
    print "T}\tT{" > file
  }
  put(file, when)
  print "T}" > file
}

# "88, 89, 17 no seek": a row for each code. What is no such item is a row without a code.
function put_item(file, item,  list, n, i) {
  item = trim(item)
  if (item == "") return
  if (match(item, /^[0-9]+((,| and| or) [0-9]+)* /)) {
    n = split(substr(item, 1, RLENGTH - 1), list, /(,| and| or) /)
    item = substr(item, RLENGTH + 1)
    sub(/\.$/, "", item)
    for (i = 1; i <= n; i++) put_row(file, list[i], i == 1 ? item : "the same")
    return
  }
  sub(/\.$/, "", item)
  put_row(file, "", item)
}

function put_codes(file, codes,  items, n, i, item, label, last) {
  while (match(codes, /as for elf[a-z0-9_]+/)) {
    item = substr(codes, RSTART + 7, RLENGTH - 7)
    codes = substr(codes, 1, RSTART - 1) codes_of[item] substr(codes, RSTART + RLENGTH)
  }
  print ".SH ERRORS\n.TS\ntab(\t);\nlB lB lB\nl lw(28n) lx.\nCode\tText\tWhen" > file
  # A sentence may end an item, and a label begin one.
  gsub(/\. /, ";", codes)
  n = split(codes, items, ";")
  for (i = 1; i <= n; i++) {
    item = trim(items[i])
    if (match(item, /^[A-Za-z][^:]*: [0-9]/)) {
      label = toupper(substr(item, 1, 1)) substr(item, 2, RLENGTH - 3)
      item = substr(item, RLENGTH)
      put_item(file, last)
      last = ""
      put_row(file, "", label)
    }
    if (last != "" && item != "" && item !~ /^([0-9]|the codes )/) last = last "; " item # a remark on it
    else {
      put_item(file, last)
      last = item
    }
  }
  put_item(file, last)
  print ".TE" > file
}

# --- A function's page. ---

# The header writes "Elf* elf" and "void** view", a man page "Elf *elf" and "void **view".
function stars(s) {
  gsub(/\*\* /, " **", s)
  gsub(/\* /, " *", s)
  return s
}

function synopsis(declaration,  at, list, n, i, out, name) {
  sub(/^AMBIELF_API /, "", declaration)
  sub(/;.*/, "", declaration)
  at = index(declaration, "(")
  out = ".BI \"" substr(declaration, 1, at)
  n = split(substr(declaration, at + 1, length(declaration) - at - 1), list, ", ")
  for (i = 1; i <= n; i++) {
    name = ""
    if (match(list[i], / [a-z]+$/)) name = substr(list[i], RSTART + 1)
    out = out substr(list[i], 1, length(list[i]) - length(name))
    if (name != "") out = out "\" " name " \""
    out = out (i < n ? ", " : ");\"")
  }
  return stars(out)
}

function function_page(declaration,  name, file, n, i, list) {
  match(declaration, /elf[a-z0-9_]*\(/)
  name = substr(declaration, RSTART, RLENGTH - 1)
  if (!(name in exported)) { print name " is not exported" > "/dev/stderr"; exit failed = 1 }
  list[1] = substr(declaration, index(declaration, "(") + 1)
  n = list[1] ~ /^void\)/ ? 0 : split(list[1], list, ", ")
  if (n != parameters || (result == "") != (declaration ~ /^AMBIELF_API void elf/)) {
    print name ": a parameter or the result is not described" > "/dev/stderr"
    exit failed = 1
  }
  count++
  codes_of[name] = codes
  group_functions[groups] = group_functions[groups] " " name
  brief_of[name] = first_sentence(text)
  file = open_page(name, 3)
  print name " \\-" > file
  put(file, brief_of[name])
  print ".SH SYNOPSIS\n.nf\n.B #include <ambielf/ambielf.h>\n.fi\n.PP" > file
  print synopsis(declaration) > file
  print ".SH DESCRIPTION" > file
  put_paragraphs(file, text)
  if (parameters > 0) {
    print ".SH PARAMETERS" > file
    for (i = 1; i <= parameters; i++) {
      match(parameter[i], /^[a-z]+/)
      print ".TP\n.I " substr(parameter[i], 1, RLENGTH) > file
      put(file, trim(substr(parameter[i], RLENGTH + 1)))
    }
  }
  if (result != "") {
    print ".SH RETURN VALUE" > file
    # A sentence that begins with a parameter's name keeps it.
    put(file, (result ~ /^[a-z]+;/ ? substr(result, 1, 1) : toupper(substr(result, 1, 1))) substr(result, 2))
  }
  if (codes != "") put_codes(file, codes)
  print ".SH SEE ALSO" > file
  n = split(cited, list, " ")
  for (i = 1; i <= n; i++) print ".BR " list[i] " (3)," > file
  print ".BR ambielf (7)," > file
  print "whose conventions hold for every function" > file
  close(file)
}

# --- Comments. ---

function begin_comment() { text = result = codes = ""; parameters = 0; part = "text"; group = "" }

function take(line) {
  sub(/^ ?\/?\*+ ?/, "", line)
  if (line ~ /^@param /) { part = "param"; parameters++; parameter[parameters] = trim(substr(line, 8)); return }
  if (line ~ /^@return /) { part = "return"; result = trim(substr(line, 9)); return }
  if (line ~ /^@codes /) { part = "codes"; codes = trim(substr(line, 8)); return }
  if (line ~ /^@name /) { group = substr(line, 7); return }
  if (line ~ /^@[a-z]|^@[{}]/) return
  if (part == "text") {
    if (trim(line) == "") text = text "\n"
    else if (line ~ /^[0-9]+\. / && text ~ /\n$/) text = text "\001" trim(line)
    else text = text (text == "" || text ~ /\n$/ ? "" : " ") trim(line)
  }
  else if (part == "param") parameter[parameters] = parameter[parameters] " " trim(line)
  else if (part == "return") result = result " " trim(line)
  else codes = codes " " trim(line)
}

function end_comment() {
  if (!seen_file) { seen_file = 1; conventions = text }
  if (group != "") { groups++; group_name[groups] = group; group_text[groups] = text }
}

BEGIN {
  while ((getline name < names) > 0) { exported[name] = 1; wanted++ }
  while ((getline row < errors) > 0) {
    if (row !~ /^\| [0-9]+ \|/) continue
    split(row, columns, "|")
    code = columns[2] + 0
    words_of[code] = trim(columns[3])
    all_codes[++code_count] = code
  }
}

/^\/\*\*/ { begin_comment(); inside = 1; sub(/^\/\*\*/, "*") }
inside {
  ended = index($0, "*/") > 0
  sub(/ *\*\/.*/, "")
  take($0)
  if (ended) { inside = 0; end_comment() }
  next
}
/^AMBIELF_API / { declaration = "" ; declaring = 1 }
declaring {
  declaration = declaration (declaration == "" ? "" : " ") trim($0)
  if ($0 ~ /;/) { declaring = 0; function_page(declaration) }
  next
}
# Enumerations and records.
/^(enum( [A-Za-z_]+ AMBIELF_U32)?|typedef struct) \{$/ {
  types++
  type_name[types] = $1 == "enum" && NF > 2 ? $2 : ""
  type_text[types] = text
  listing = 1
  next
}
listing && /^\}/ {
  listing = 0
  if ($2 != "" && $2 != ";") { type_name[types] = $2; sub(/;/, "", type_name[types]) }
  next
}
listing {
  if (match($0, /\/\*\*< /)) {
    members[types]++
    member = trim(substr($0, 1, RSTART - 1))
    sub(/[,;]$/, "", member)
    member_name[types, members[types]] = stars(member)
    described = substr($0, RSTART + 5)
  } else described = " " trim($0)
  sub(/ *\*\/.*/, "", described)
  member_text[types, members[types]] = member_text[types, members[types]] described
}

END {
  if (failed) exit 1
  if (count != wanted) { print "pages for " count " functions of " wanted > "/dev/stderr"; exit 1 }
  file = open_page("ambielf", 7)
  n = split(conventions, piece, "\001")
  introduction = piece[1]
  sub(/^ambielf: /, "", introduction)
  title = first_sentence(introduction)
  print "ambielf \\-" > file
  put(file, title)
  print ".SH SYNOPSIS\n.nf\n.B #include <ambielf/ambielf.h>\n.fi\n.PP" > file
  print ".B cc file.c $(pkg\\-config \\-\\-cflags \\-\\-libs ambielf)\n.SH DESCRIPTION" > file
  introduction = substr(introduction, index(introduction, "\n") + 1)
  sub(/\n[^\n]*:\n*$/, "", introduction)
  put_paragraphs(file, introduction)
  for (i = 2; i <= n; i++) {
    convention = piece[i]
    sub(/^[0-9]+\. /, "", convention)
    at = index(convention, ". ")
    print ".SS " substr(convention, 1, at - 1) > file
    convention = substr(convention, at + 2)
    sub(/"Codes" lists/, "ERRORS lists", convention)
    put(file, convention)
  }
  print ".SH FUNCTIONS" > file
  for (i = 1; i <= groups; i++) {
    print ".SS " group_name[i] > file
    put_paragraphs(file, group_text[i])
    m = split(group_functions[i], list, " ")
    for (j = 1; j <= m; j++) {
      print ".TP\n.BR " list[j] " (3)" > file
      put(file, brief_of[list[j]])
    }
  }
  print ".SH RECORDS AND CONSTANTS" > file
  for (i = 1; i <= types; i++) {
    if (type_name[i] != "") print ".SS " type_name[i] > file
    else {
      match(type_text[i], /^[^.:]*/)
      print ".SS " substr(type_text[i], 1, RLENGTH) > file
      type_text[i] = trim(substr(type_text[i], RLENGTH + 2))
      type_text[i] = toupper(substr(type_text[i], 1, 1)) substr(type_text[i], 2)
    }
    put_paragraphs(file, type_text[i])
    for (j = 1; j <= members[i]; j++) {
      print ".TP\n.B " member_name[i, j] > file
      put(file, member_text[i, j])
    }
  }
  print ".SH ERRORS\nWhat" > file
  print ".BR elf_errno (3)\ngives, in the words of\n.BR elf_errmsg (3):\n.PP\n.TS\ntab(\t);\nrB lx." > file
  for (i = 1; i <= code_count; i++) {
    print all_codes[i] "\tT{" > file
    put(file, words_of[all_codes[i]])
    print "T}" > file
  }
  print ".TE\n.SH SEE ALSO\n.BR ambielf (1),\n.BR elf (5)" > file
}
