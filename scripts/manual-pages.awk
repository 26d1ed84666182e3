# Turns Doxygen's man pages, one a header and one a structure, into those of the manual: the header's page
# under the family's name, and from its entries a page for each function and object.
#
# Variables: version of the library, folder of the pages.

function plain(text) {
  gsub(/\\f[BCIPR]/, "", text)
  sub(/^\\&/, "", text)
  return text
}

function declaration(heading) {
  sub(/^\.SS "/, "", heading)
  sub(/"$/, "", heading)
  heading = plain(heading)
  sub(/ \[extern\]$/, "", heading)
  sub(/ \(/, "(", heading)
  gsub(/ \* /, " *", heading)
  gsub(/ \*\* /, " **", heading)
  return heading
}

function name_of(declared) {
  sub(/[([].*/, "", declared)
  sub(/.*[ *]/, "", declared)
  return declared
}

function title(name) {
  return ".TH " name " 3 \"\" \"talvera " version "\" \"talvera manual\"\n.ad l\n.nh"
}

function end_entry() {
  if (entry != "") {
    print ".SH SEE ALSO\n.BR talvera_" family " (3)" >entry
    close(entry)
  }
  entry = ""
}

# The heading of a page waits for the entry's first text, whose first sentence goes into NAME.
function begin_entry(heading) {
  declared = declaration(heading)
  name = name_of(declared)
  entry = folder "/" name ".3"
  awaits_text = 1
}

function write_entry(line) {
  if (awaits_text && line ~ /^[^.]/) {
    brief = line
    sub(/\\&\. .*/, "", brief)
    print title(name) >entry
    print ".SH NAME\n" name " \\- " plain(brief) >entry
    print ".SH SYNOPSIS\n.B #include <talvera/" family ".h>\n.PP\n.in +4n\n.ti -4n" >entry
    print ".B \"" declared ";\"\n.in\n.SH DESCRIPTION" >entry
    awaits_text = 0
  }
  if (!awaits_text) print line >entry
}

FNR == 1 {
  end_entry()
  if (page != "") close(page)
  name = FILENAME
  sub(/.*\//, "", name)
  sub(/\.3$/, "", name)
  family = ""
  if (sub(/\.h$/, "", name)) {
    family = name
    name = "talvera_" name
  }
  page = folder "/" name ".3"
  in_entries = in_code = skip = 0
}
/^\.TH / {
  print title(name) >page
  next
}
/^\.(ad l|nh)$/ { next }

/^\.SH / {
  end_entry()
  in_entries = /"(Function|Variable) Documentation"/
  # Fields have been listed with their texts before.
  skip = /"(Author|Field Documentation)"/
}
skip { next }
/^\.SS / {
  end_entry()
  if (in_entries) begin_entry($0)
}

# Doxygen leaves backslashes in code, and apostrophes in front of a line, as they are.
/^\.nf/ { in_code = 1 }
/^\.fi/ { in_code = 0 }
in_code { gsub(/\\[nrt"]/, "\\e&"); gsub(/\\e\\/, "\\e") }
/^'/ { $0 = "\\&" $0 }

{
  sub(/^talvera\/[a-z0-9_]+\.h \\-/, name " \\-")
  sub(/#include </, "#include <talvera/")
  if (page != "") print >page
  if (entry != "" && $0 !~ /^\.SS /) write_entry($0)
}
END { end_entry() }
