# Takes the one long page that Doxygen makes of the public header and writes a page for each exported function, since
# that is what a reader asks for: its entry of the manual, in the customary sections.
#
# awk -v names=cmake/exports.txt -v version=0.1.0 -v folder=man3 -f man_pages.awk ambielf.h.3

function finish() {
  if (page != "") {
    print ".SH SEE ALSO\n\\fBambielf.h\\fP(3), which holds the conventions for every function" > page
    close(page)
  }
  page = ""
}

function begin(name, signature) {
  page = folder "/" name ".3"
  print ".TH " name " 3 \"\" \"ambielf " version "\" \"ambielf\"\n.ad l\n.nh\n.SH NAME" > page
  gsub(/\\fB|\\fP|\\fI/, "", signature)
  gsub(/ \* /, " *", signature)
  synopsis = "#include <ambielf/ambielf.h>\n.sp\n\\fB" signature ";\\fP"
  title = name
}

BEGIN { while ((getline name < names) > 0) exported[name] = 1 }

/^\.SS "/ {
  finish()
  signature = substr($0, 6, length($0) - 6)
  if (match(signature, /elf[a-z0-9_]* \(/)) {
    name = substr(signature, RSTART, RLENGTH - 2)
    if (name in exported) { begin(name, signature); count++ }
  }
  next
}
/^\.SH / { finish(); next }
page == "" { next }
# The text begins with a sentence that says it in brief.
title != "" && /^[A-Za-z]/ {
  end = match($0, /\\&\. /) ? RSTART - 1 : length($0)
  print title " \\- " substr($0, 1, end) "\n.SH SYNOPSIS\n" synopsis "\n.SH DESCRIPTION" > page
  title = ""
}
title != "" { next }
/^\\fBParameters\\fP$/ { print ".SH PARAMETERS" > page; next }
/^\\fBReturns\\fP$/ { print ".SH RETURN VALUE" > page; next }
/^\\fBCodes\\fP$/ { print ".SH ERRORS" > page; next }
/^\.RS 4$|^\.RE$|^$/ { next }
{ print > page }

END {
  finish()
  for (name in exported) wanted++
  if (count != wanted) { print "pages for " count " functions of " wanted > "/dev/stderr"; exit 1 }
}
