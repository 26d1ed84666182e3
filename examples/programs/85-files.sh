# A photo folder in its user's order: photos are added, moved, hidden and deleted, and the database in the
# folder follows.
set -eu

folder=$(mktemp -d)
photos() { "$BUILD/examples/photo_folder" "$folder" "$@"; }

# Shows the database and compares it with the expected content.
expect() {
  echo "  $1:"
  shift
  sed 's/^/    /' "$folder/photos.db"
  printf '%s\n' "$@" | cmp -s - "$folder/photos.db" || { echo "the database should be: $*"; exit 1; }
}

echo "== A photo folder in the order of its user"
touch "$folder/castle.jpg" "$folder/alps.jpg" "$folder/beach.jpg" "$folder/notes.txt"
photos sync
expect "Three photos found" "#1:3" 1:1:0:alps.jpg 2:1:0:beach.jpg 3:1:0:castle.jpg

photos move castle.jpg 1
expect "The castle moved to the top" "#1:3" 1:1:0:castle.jpg 2:1:0:alps.jpg 3:1:0:beach.jpg

photos enable beach.jpg 0
expect "The beach hidden" "#1:3" 1:1:0:castle.jpg 2:1:0:alps.jpg 3:0:0:beach.jpg

touch "$folder/dunes.jpg"
photos sync
expect "A new photo, which comes first" \
  "#1:4" 1:1:0:dunes.jpg 2:1:0:castle.jpg 3:1:0:alps.jpg 4:0:0:beach.jpg

rm "$folder/castle.jpg"
photos sync
expect "The castle deleted" "#1:3" 1:1:0:dunes.jpg 2:0:0:beach.jpg 3:1:0:alps.jpg

echo "  As the user sees it:"
photos list | sed 's/^/    /'
rm -r "$folder"
