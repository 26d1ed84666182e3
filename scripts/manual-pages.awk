# Converts Doxygen's man pages to those of the manual. The page of a family becomes talvera_FAMILY(3), with a
# summary of its declarations, and a page for each function, object, macro, type and enumeration; an
# enumerator's page links to that of its enumeration. Pages of structures are unchanged; conventions become
# talvera(7).
#
# Variables: version of the library; man, the folder of the pages.

function plain(text) {
  gsub(/\\f[BCIPR]/, "", text)
  gsub(/\\&/, "", text)
  return text
}

function title(name, section) {
  return ".TH " name " " section " \"\" \"talvera " version "\" \"talvera manual\"\n.ad l\n.nh\n.SH NAME\n"
}

function page_of(name) { return man "/man3/" name ".3" }

function synopsis() { return ".SH SYNOPSIS\n.B #include <talvera/" family ".h>\n.PP\n" }

# The declaration in an entry's heading.
function declaration(heading) {
  sub(/^\.SS "/, "", heading)
  sub(/"$/, "", heading)
  heading = plain(heading)
  sub(/ \[extern\]$/, "", heading)
  if (heading ~ /^#define/) {
    gsub(/,  /, ", ", heading)
    return heading
  }
  if (sub(/\(\* /, " (*", heading)) sub(/\) \(/, ")(", heading)
  else sub(/ \(/, "(", heading)
  gsub(/ \* /, " *", heading)
  gsub(/ \*\* /, " **", heading)
  gsub(/ \*\*\* /, " ***", heading)
  return heading ";"
}

function name_of(declared) {
  if (sub(/^#define /, "", declared)) {
    sub(/[^A-Za-z0-9_].*/, "", declared)
    return declared
  }
  if (declared ~ /\(\*[a-z_]+\)/) sub(/.*\(\*/, "", declared)
  sub(/[^A-Za-z0-9_ *].*/, "", declared)
  sub(/.*[ *]/, "", declared)
  return declared
}

function see_also(name,    i, list, count) {
  list = ".SH SEE ALSO\n"
  count = split(members[section_of[name]], sibling, " ")
  for (i = 1; count <= 12 && i <= count; i++)
    if (sibling[i] != name) list = list ".BR " sibling[i] " (3),\n"
  return list ".BR talvera_" family " (3)"
}

# At the end of an entry, its first sentence becomes NAME.
function end_entry(    brief, page, i, count) {
  if (declared == "") return
  count = split(enumerators, enumerator, " ")
  if (declared ~ /^anonymous enum/) {
    name = enumerator[1]
    for (i = 2; i <= count; i++) name = name ", " enumerator[i]
  }
  brief = text
  sub(/^[.]PP\n/, "", brief)
  sub(/\\&\.[ \n].*/, "", brief)
  gsub(/\n/, " ", brief)
  names = name
  sub(/,.*/, "", name)
  if (count) declared = enumeration[enumerator[1]] ";"
  page = page_of(name)
  print title(name, 3) names " \\- " plain(brief) > page
  print synopsis() ".in +4n\n.ti -4n\n.B \"" declared "\"\n.in\n.SH DESCRIPTION" > page
  print text see_also(name) > page
  close(page)
  for (i = 1; i <= count; i++) {
    if (enumerator[i] == name) continue
    print ".so man3/" name ".3" > page_of(enumerator[i])
    close(page_of(enumerator[i]))
  }
  declared = ""
}

function end_family(    page) {
  end_entry()
  if (family == "") return
  page = page_of("talvera_" family)
  print title("talvera_" family, 3) "talvera_" family " \\- " headline > page
  print synopsis() ".SH DESCRIPTION" > page
  print description ".SH DECLARATIONS" > page
  print summary ".SH SEE ALSO\n.BR talvera (7)" > page
  close(page)
}

FNR == 1 {
  if (structure != "") print ".SH SEE ALSO\n.BR talvera_" header " (3)" > page_of(structure)
  end_family()
  name = FILENAME
  sub(/.*\//, "", name)
  sub(/\.3$/, "", name)
  family = structure = description = summary = headline = part = ""
  in_code = 0
  conventions = name == "talvera"
  if (conventions) {
    output = man "/man7/talvera.7"
    print title(name, 7) name " \\- conventions of the utility library of a home gateway" > output
    print ".SH DESCRIPTION" > output
  } else if (sub(/^talvera_/, "", name)) {
    family = name
    split("", section_of)
    split("", members)
  } else {
    structure = name
    output = page_of(name)
    printf "%s", title(name, 3) > output
  }
}

/^\.(ad l|nh|TH .*)$/ { next }
# Doxygen does not escape backslashes in code, nor apostrophes at the start of a line.
/^\.nf/ { in_code = 1 }
/^\.fi/ { in_code = 0 }
in_code { gsub(/\\[nrt"0]/, "\\e&"); gsub(/\\e\\/, "\\e") }
/^'/ { $0 = "\\&" $0 }
!in_code { sub(/^ /, "") }

/^\.SH / {
  end_entry()
  part = $0
  gsub(/^\.SH |"/, "", part)
  sub(/Detailed /, "")
  if (part != "NAME" && !family && part !~ /^(Author|Field Documentation)$/) print toupper($0) > output
  next
}

conventions {
  if (part == "NAME" && /^talvera \\-/) next
  if (part != "Author") print > output
  next
}

structure != "" {
  if (part == "Author" || part == "Field Documentation") next
  if (match($0, /#include <talvera\/[a-z0-9_]+/)) header = substr($0, RSTART + 18, RLENGTH - 18)
  print > output
  next
}

part == "NAME" {
  if (sub(/^[a-z0-9_]+ \\- /, "")) headline = tolower(substr($0, 1, 1)) substr($0, 2)
  next
}
# The summary follows the description, without a heading of its own.
part ~ /Description$/ && /^\.SS / { part = "SYNOPSIS" }
part == "SYNOPSIS" {
  summary = summary $0 "\n"
  if (/^\.SS /) section = $0
  if (/^\.RI "enum /) {
    sub(/^\.RI "/, "")
    sub(/"$/, "")
    $0 = plain($0)
    line = $0
    sub(/^[^{]*{ */, "", line)
    sub(/[^A-Z0-9_].*/, "", line)
    enumeration[line] = $0
    section_of[$2] = section
  } else if (/^\.RI "#define /) {
    $0 = plain($0)
    section_of[$3] = section
  } else if (match($0, /\\fB[A-Za-z0-9_]+\\fP \(/) && !/^\.RI "typedef/) {
    member = substr($0, RSTART + 3, RLENGTH - 8)
    section_of[member] = section
    members[section] = members[section] " " member
  }
  next
}
part ~ /Description$/ { description = description $0 "\n"; next }
part == "Author" { next }

# An entry. A typedef of a structure has the structure's page.
/^\.SS / {
  end_entry()
  if (/^\.SS "typedef struct/) next
  declared = declaration($0)
  name = name_of(declared)
  text = enumerators = ""
  next
}
declared != "" {
  if (text == "" && ($0 == "" || /^\.PP *$/)) next
  text = text $0 "\n"
  if (/^\\fB\\fI[A-Z0-9_]+ \\fP\\fP/) {
    enumerator_name = plain($0)
    gsub(/ /, "", enumerator_name)
    enumerators = enumerators (enumerators ? " " : "") enumerator_name
  }
}
END {
  if (structure != "") print ".SH SEE ALSO\n.BR talvera_" header " (3)" > page_of(structure)
  end_family()
}
