#!/bin/sh
# Writes a manual page: a file of this folder, with parts of the documents put in.
#
# Usage: page.sh SOURCE_FOLDER VERSION PAGE >FILE
#
# A line "@part FILE HEADING", with the heading as it stands in that file (or no heading: all of it), is replaced by
# that part; "@file FILE" by a file as it stands.

set -eu
source=$1 version=$2 page=$3
here=$source/packaging/man

while IFS= read -r line; do
  case $line in
    '@part '*)
      line=${line#@part }
      file=${line%% *}
      heading=${line#"$file"}
      awk -v part="${heading# }" -v skip="${skip:-}" -f "$here/section.awk" "$source/$file"
      skip=
      ;;
    '@skip '*) skip=${line#@skip } ;;
    '@file '*) printf '.nf\n'; sed -e 's/\\/\\e/g' -e "s/^[.']/\\\\\\&&/" "$source/${line#@file }"; printf '.fi\n' ;;
    # Commands and names of files are to be copied, so nothing is hyphenated.
    '.TH '*) printf '%s\n.nh\n.ad l\n' "$line" ;;
    *) printf '%s\n' "$line" ;;
  esac
done <"$here/$page.in" \
  | sed "s/@VERSION@/$version/" \
  | awk '
    # Paragraph marks at the start or the end of a section, or next to each other, are one too many.
    /^\.PP$/ { mark = 1; next }
    mark && !/^\.(SH|SS|TP|IP)/ && !fresh { print ".PP" }
    { mark = 0; fresh = /^\.(SH|SS)/; print }
  '
