# What the factory supplies with the device: a blob with its certificate and key after a header of big-endian numbers.

cd "$FOLDER"
word() {
  printf "$(printf '\\%03o\\%03o\\%03o\\%03o' 0 0 $(($1 >> 8)) $(($1 & 255)))"
}
blob() {
  printf '\016\014\012\010\002\004\006\007'
  c=$(wc -c <"$1") k=$(wc -c <"$2")
  for n in $((52 + c + k)) 2 0  0 "$c" 2 0  "$c" "$k" 1 0; do word "$n"; done
  cat "$1" "$2"
}
(
  openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -subj /CN=gateway -days 30 \
    -outform DER -out certificate -keyout key.pem
  openssl ec -in key.pem -outform DER -out key
) 2>/dev/null
blob certificate key >factory.blob
