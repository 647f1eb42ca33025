# Finds the codes that each function of src/ can report, and holds them against the lists in include/ambielf/ambielf.h.
# scripts/check-codes runs this on error.h, on ambielf.h, on its table of what is held back, and on the sources, in this
# order.
#
# The search reads the source as words. A function reports the ERR_ names in its body, and what the functions report
# that it calls. For x.f() it looks up the class of x in the declarations of the function and of its class, then of all
# classes; where that fails, f of any class will do. So it may find too much, but not too little.

function fail(text) { print text > "/dev/stderr"; failed = 1 }

# --- The lists in the header. ---

function read_header(line,  n, i, items, list, m, item, name) {
  if (line ~ /^ \*\/$/) { in_codes = 0; return }
  sub(/^ \* */, "", line)
  if (sub(/^@codes /, "", line)) { codes = line; in_codes = 1; return }
  if (in_codes) { codes = codes " " line; return }
  if (line !~ /^AMBIELF_API .*\(/) return
  match(line, /elf[a-z0-9_]*\(/)
  name = substr(line, RSTART, RLENGTH - 1)
  exported[++exports] = name
  while (match(codes, /as for elf[a-z0-9_]+/)) {
    item = substr(codes, RSTART + 7, RLENGTH - 7)
    codes = substr(codes, 1, RSTART - 1) text_of[item] substr(codes, RSTART + RLENGTH)
  }
  text_of[name] = codes
  gsub(/\. /, ";", codes)
  n = split(codes, items, ";")
  for (i = 1; i <= n; i++) {
    item = items[i]
    sub(/^ *([A-Za-z][^:]*: )?/, "", item)
    gsub(/  +/, " ", item)
    if (match(item, /^[0-9]+(, [0-9]+)* /)) {
      m = split(substr(item, 1, RLENGTH - 1), list, ", ")
      while (m > 0) { listed[name, list[m]] = 1; anyone_lists[list[m]] = 1; m-- }
    }
    while (match(item, /elf_[a-z]+/)) {
      if (item ~ /^the codes of /) includes[name] = includes[name] " " substr(item, RSTART, RLENGTH)
      item = substr(item, RSTART + RLENGTH)
      if (item !~ /^ and elf/) break
      item = "the codes of" substr(item, 5)
    }
  }
  codes = ""
}

# --- The sources: functions with their words, classes with their members. ---

function push(kind, name) { kinds[++depth] = kind; names[depth] = name }

function enclosing_class(  i) {
  for (i = depth; i > 0; i--) if (kinds[i] == "class") return names[i]
  return ""
}

# What the brace after the words in `pending` opens.
function open_brace(  n, w, i, j, name, class) {
  n = split(pending, w, " ")
  if (w[1] == "namespace") { push("namespace", ""); return }
  for (i = 2; i <= n && w[i] != "("; i++) {}
  if (i <= n && pending !~ / = /) {
    name = w[i - 1]
    class = enclosing_class()
    if (w[i - 2] == "::" && w[i - 3] != "ambielf") class = w[i - 3]
    function_name = (class == "" ? "" : class "::") name
    # The functions called usable differ in their first parameter's type.
    if (name == "usable") function_name = name "/" w[i + 1 + (w[i + 1] == "const")]
    push("function", function_name)
    if (!(function_name in words)) functions[++function_count] = function_name
    class_of[function_name] = class
    if (class == "") free[name] = 1
    else methods[name] = methods[name] " " class
    words[function_name] = words[function_name] " ;"
    heads[function_name] = heads[function_name] " ; " pending
    return
  }
  for (i = n; i > 0; i--) if (w[i] == "class" || w[i] == "struct") break
  if (i > 0 && pending !~ /enum/) {
    name = w[i + 1]
    is_class[name] = 1
    for (j = i + 2; j <= n; j++) if (w[j] == ":") base[name] = w[n]
    push("class", name)
    return
  }
  variable = ""
  if (depth == 0 || kinds[depth] == "namespace") members[""] = members[""] " ; " pending
  for (i = 2; i <= n; i++) if (w[i] == "=") variable = w[i - 1]
  push("other", variable)
}

function take(word,  i) {
  if (word == "{") {
    if (inside) { inside++; words[function_name] = words[function_name] " {" }
    else { open_brace(); if (kinds[depth] == "function") inside = 1 }
    pending = ""
    return
  }
  if (word == "}") {
    if (inside > 1) { inside--; words[function_name] = words[function_name] " }"; return }
    inside = 0
    depth--
    pending = ""
    return
  }
  if (inside) { words[function_name] = words[function_name] " " word; return }
  if (word ~ /^ERR_/ && kinds[depth] == "other") { constant[names[depth]] = constant[names[depth]] " " word; return }
  if (word == ";") {
    if (kinds[depth] == "class") members[names[depth]] = members[names[depth]] " ; " pending
    else members[""] = members[""] " ; " pending
    pending = ""
    return
  }
  if (word == ":" && pending ~ /^ (public|private|protected)$/) { pending = ""; return }
  pending = pending " " word
}

function read_source(line) {
  gsub(/"([^"\\]|\\.)*"/, "\"\"", line)
  gsub(/'([^'\\]|\\.)'/, "0", line)
  sub(/\/\/.*/, "", line)
  if (line ~ /^ *#/) return
  while (match(line, /[A-Za-z_][A-Za-z0-9_]*|::|->|[^ ]/)) {
    take(substr(line, RSTART, RLENGTH))
    line = substr(line, RSTART + RLENGTH)
  }
}

# --- The search. ---

# Declarations: a class, then perhaps > * & const, then a name.
function declare(scope, text,  n, w, i, class) {
  n = split(text, w, " ")
  class = ""
  for (i = 1; i <= n; i++) {
    if (w[i] in is_class) class = w[i]
    else if (w[i] ~ /^[A-Za-z_]/ && w[i] != "const") {
      if (class != "") {
        types[scope, w[i]] = types[scope, w[i]] " " class
        if (scope ~ /^class /) anywhere[w[i]] = anywhere[w[i]] " " class
      }
      class = ""
    } else if (w[i] !~ /^[>*&]$/ && w[i] != "const") class = ""
  }
}

function call(from, to) { calls[from] = calls[from] " " to }

function method(class, name) {
  for (; class != ""; class = base[class]) if ((class "::" name) in words) return class "::" name
  return ""
}

# The name before . or ->; of C(...).f() the class C.
function receiver_at(w, i,  open) {
  if (w[i] != ")") return w[i]
  do { open += (w[i] == ")") - (w[i] == "("); i-- } while (open > 0 && i > 0)
  return w[i]
}

function resolve(from, receiver, name,  class, list, n, i, found) {
  list = receiver in is_class ? receiver : types[from, receiver]
  if (list == "") list = types["class " class_of[from], receiver]
  if (list == "") list = anywhere[receiver]
  if (list == "" && receiver == "this") list = class_of[from]
  if (list == "") list = methods[name]
  n = split(list, class, " ")
  for (i = 1; i <= n; i++) {
    found = method(class[i], name)
    if (found != "") call(from, found)
  }
}

function find_calls(f,  n, w, i, own, list, m) {
  declare(f, heads[f] " ; " words[f])
  n = split(words[f], w, " ")
  for (i = 1; i <= n; i++) {
    if (w[i] ~ /^ERR_/) reports[f] = reports[f] " " w[i]
    if (w[i] in constant) reports[f] = reports[f] constant[w[i]]
    if (w[i] == "KeepError") only[f] = 1
    if (w[i] !~ /^[A-Za-z_]/) continue
    if (w[i - 1] == "." || w[i - 1] == "->") {
      if (w[i + 1] == "(") resolve(f, receiver_at(w, i - 2), w[i])
    } else if (w[i - 1] == "::" && w[i - 2] in is_class) {
      if (method(w[i - 2], w[i]) != "") call(f, method(w[i - 2], w[i]))
    } else if (w[i] == "usable") {
      call(f, "usable/" (types[f, w[i + 2]] ~ / Elf_Scn/ ? "Elf_Scn" : "Elf"))
    } else if (w[i - 1] != "::" || w[i - 2] != "platform") {
      own = w[i + 1] == "(" ? method(class_of[f], w[i]) : ""
      if (own != "") call(f, own)
      else if (w[i] in free && w[i] != f) call(f, w[i])
    }
  }
}

# Convention 2 in the header: running out of memory gives 4 unless another code is listed.
function is_listed(f, code,  from, n, i) {
  if ((f, code) in listed) return 1
  n = split(includes[f], from, " ")
  for (i = 1; i <= n; i++) if ((from[i], code) in listed) return 1
  return code == 4 && !((f, 31) in listed || (f, 34) in listed || (f, 48) in listed)
}

function check(f,  i) {
  if (!(f in words)) { fail(f " is not in the sources"); return }
  for (i = 1; i <= all_count; i++) {
    reported = index(leaves[f], " " all[i] " ")
    if (reported && !is_listed(f, all[i])) fail(f " can report " all[i] ", but does not list it")
    if (!reported && (f, all[i]) in listed) fail(f " lists " all[i] ", but cannot report it")
  }
}

# Adds the codes that leave a function. Returns whether there are new ones.
function spread(f, codes,  list, n, i, grew) {
  n = split(codes, list, " ")
  for (i = 1; i <= n; i++) {
    if (index(leaves[f], " " list[i] " ") || (f, list[i]) in held) continue
    if (f in only && !((f, list[i]) in passes)) continue
    leaves[f] = leaves[f] list[i] " "
    grew = 1
  }
  return grew
}

function search(  i, k, n, f, list, grew) {
  for (i = 1; i <= function_count; i++) {
    f = functions[i]
    leaves[f] = " "
    n = split(reports[f], list, " ")
    for (k = 1; k <= n; k++) if (number[list[k]] > 0) spread(f, number[list[k]])
  }
  do {
    grew = 0
    for (i = 1; i <= function_count; i++) {
      n = split(calls[functions[i]], list, " ")
      for (k = 1; k <= n; k++) if (spread(functions[i], leaves[list[k]])) grew = 1
    }
  } while (grew)
}

FILENAME ~ /error\.h$/ && /^ +ERR_[A-Z0-9_]+ = [0-9]+,$/ {
  sub(/,/, "")
  number[$1] = $3
  if ($3 > 0) all[++all_count] = $3
}
FILENAME ~ /ambielf\.h$/ { read_header($0); next }
FILENAME == held_file {
  if (NF == 0 || $1 == "#") next
  for (i = 2; $i ~ /^(-?[0-9]+|only)$/; i++) {
    if ($i == "only") only[$1] = 1
    else if ($i < 0) held[$1, -$i] = 1
    else passes[$1, $i] = 1
  }
  stated[++stated_count] = $1
  next
}
FNR == 1 { depth = inside = 0; pending = "" }
{ read_source($0) }

END {
  for (class in members) declare("class " class, members[class])
  for (i = 1; i <= function_count; i++) find_calls(functions[i])
  search()
  for (i = 1; i <= stated_count; i++)
    if (!(stated[i] in words)) fail("the table names " stated[i] ", which is not in the sources")
  for (i = 1; i <= exports; i++) check(exported[i])
  for (i = 1; i <= all_count; i++) if (!(all[i] in anyone_lists)) unlisted = unlisted ", " all[i]
  print "No function reports " substr(unlisted, 3) "."
  exit failed
}
