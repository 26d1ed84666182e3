# TLS servers with certificates issued by the development stand-in for the maker's root.

# issue NAME YEAR: a certificate and key, valid for two years from the start of YEAR (two digits)
issue() {
  : >index
  echo 01 >serial
  printf '%s\n' '[ca]' 'default_ca = root' '[root]' 'database = index' 'serial = serial' 'new_certs_dir = .' \
    'default_md = sha256' 'policy = name' '[name]' 'commonName = supplied' '[req]' \
    'distinguished_name = empty' '[empty]' >conf
  openssl req -config conf -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -keyout "$1.key" \
    -subj /CN=acs.example.net -out request
  openssl ca -config conf -batch -notext -cert root -keyfile "$STAND_INS/06-brio.key.pem" -in request \
    -startdate "${2}0101000000Z" -enddate "$(($2 + 2))0101000000Z" -out "$1"
} 2>/dev/null
# serve PORT NAME
serve() {
  openssl s_server -accept "127.0.0.1:$1" -cert "$2" -key "$2.key" -www -quiet >/dev/null 2>&1 </dev/null &
  background="$background $!"
  wait_for_listener "$1" $$
}

# == The management server

openssl x509 -inform DER -in "$STAND_INS/06-brio.der" -out root
issue good "$(($(date +%y) - 1))"
issue early "$(($(date +%y) + 1))"
serve 44331 good
serve 44332 early
export TALVERA_SDB=database

# The gateway reports to its management server, whose certificate the maker's root has issued. Each step is shown
# with its result.
printf '%s\n' system.sku=1 ip.ntp.time-acquired=1 >database
talvera tls connect --name ACS.example.net 127.0.0.1 44331

expect '^name  *ok'

# A server with another name is rejected, although its certificate is valid.
talvera tls connect --name acs.example.com 127.0.0.1 44331 2>&1 | tail -n 1

expect 'acs.example.com is expected, the server has acs.example.net'

# This server's certificate is not valid until next year.
talvera tls connect --name acs.example.net 127.0.0.1 44332 2>&1 | tail -n 1

expect 'certificate is not yet valid'

# Before the device has network time, its clock may be wrong, so it accepts the certificate.
printf '%s\n' system.sku=1 ip.ntp.time-acquired=0 >database
talvera tls connect --name acs.example.net 127.0.0.1 44332 | tail -n 3

expect '^chain  *tolerated'
