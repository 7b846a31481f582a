# The file of known brokers in all sorts of states; part of trust_options.sh.

export XDG_CONFIG_HOME=$folder/config
known=$XDG_CONFIG_HOME/kavro-broker/known_brokers
mkdir -p "$folder"/{config,link,anybodys}/kavro-broker
content=$(printf '%s\n' '# mine' "LOCALHOST $port $key_pin" 'half a line' "127.0.0.1 $port sha256//AAAA=" "[::1] 443 $key_pin")
echo "$content" >"$known"
localhost=("${log_in[@]/#127.0.0.1/localhost}")

expect 0 'Office' list "${localhost[@]}"
ln -s "$known" "$folder/link/kavro-broker/"
install -m 666 "$known" "$folder/anybodys/kavro-broker/"
for unfit in link anybodys; do
  XDG_CONFIG_HOME=$folder/$unfit expect 3 'is not used: it (is a link|may be written)' list "${localhost[@]}"
  XDG_CONFIG_HOME=$folder/$unfit expect 1 'is not used' known-brokers --remove "[::1]:443"
done

# No room on the disk, and many at once.
(trap '' XFSZ && ulimit -f 0 && expect 1 'could not be written' known-brokers --remove "[::1]:443")
[ "$(cat "$known")" = "$content" ]
printf "b%s.test 443 $key_pin\n" {1..20} >>"$known"
removals=()
for number in {1..20}; do
  "$client" known-brokers --remove "B$number.TEST:443" >/dev/null &
  removals+=($!)
done
wait "${removals[@]}"
[ "$(cat "$known")" = "$content" ]
[ "$(stat -c %a "$known")" = 600 ]

expect 0 '"host": "::1",\s*"port": "443"' known-brokers --json
expect 0 '\[::1\]:443 is no' known-brokers --remove "[::1]:443"
expect 1 '\[::1\]:443 is no' known-brokers --remove "[::1]:443"
expect 0 "PIN\sLOCALHOST +$port +${key_pin//+/\\+}\s$" known-brokers
