#!/usr/bin/env bash
# The same conversation through the proxies that companies have: real_proxies.sh SIMULATOR CLIENT
# Needs squid, tinyproxy, danted and krb5kdc; all of them listen on 127.0.0.1 and leave nothing behind.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
. "$here/../../tools/simulator.sh"
. "$here/../cli/expect.sh"
PATH=$PATH:/usr/sbin

started=()
start_simulator "$(realpath "$1")"
trap 'kill "$simulator" "${started[@]}" 2>/dev/null || true; wait 2>/dev/null; rm -rf "$folder"' EXIT
chmod 755 "$folder" # some change to a user of their own
client=$(realpath "$2")
cd "$folder"
unset http_proxy https_proxy HTTPS_PROXY all_proxy no_proxy NO_PROXY
export SSL_CERT_FILE=$folder/ca.pem SSL_CERT_DIR=$folder/none
user=ann password='open sesame'

free_port() { python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])'; }

# start PORT PROGRAM...: a server that ends with the script, from the moment on that it listens
start() {
  local listens=$1 attempt
  shift
  "$@" >"$folder/output" 2>&1 &
  started+=($!)
  for attempt in {1..200}; do
    (: <"/dev/tcp/127.0.0.1/$listens") 2>/dev/null && return
    sleep 0.05
  done
  echo "$1 does not listen:"
  cat "$folder/output"
  exit 1
}

# start_squid SCHEME SETTINGS: one that lets those in who log in by this scheme
start_squid() {
  proxy_port=$(free_port)
  install -d -m 777 "squid-$1"
  cat >"squid-$1/conf" <<CONF
http_port 127.0.0.1:$proxy_port
pid_filename none
cache deny all
cache_log $folder/squid-$1/log
access_log none
coredump_dir $folder/squid-$1
netdb_filename none
pinger_enable off
shutdown_lifetime 0 seconds
auth_param $1 program /usr/lib/squid/$2
auth_param $1 children 1 startup=1
${3:-}
acl known proxy_auth REQUIRED
http_access allow known
CONF
  start "$proxy_port" squid -N -f "$folder/squid-$1/conf"
}

# A realm of its own, in which the proxy is known by the name "localhost", and the user may log in.
start_kdc() {
  local kdc_port
  kdc_port=$(free_port)
  export KRB5_CONFIG=$folder/krb5.conf KRB5_KDC_PROFILE=$folder/kdc.conf
  export KRB5CCNAME=FILE:$folder/tickets KRB5_KTNAME=$folder/keytab KRB5RCACHETYPE=none
  cat >krb5.conf <<CONF
[libdefaults]
default_realm = TEST
dns_lookup_kdc = false
dns_canonicalize_hostname = false
udp_preference_limit = 1
[realms]
TEST = {
  kdc = 127.0.0.1:$kdc_port
}
CONF
  cat >kdc.conf <<CONF
[kdcdefaults]
kdc_listen = ""
kdc_tcp_listen = 127.0.0.1:$kdc_port
[realms]
TEST = {
  database_name = $folder/principals
  key_stash_file = $folder/stash
}
[logging]
default = FILE:$folder/kdc.log
CONF
  kdb5_util create -s -r TEST -P master >/dev/null 2>&1
  kadmin.local -q "add_principal -pw \"$password\" $user" >/dev/null 2>&1
  kadmin.local -q 'add_principal -randkey HTTP/localhost' >/dev/null 2>&1
  kadmin.local -q "ktadd -k $folder/keytab HTTP/localhost" >/dev/null 2>&1
  chmod 644 keytab # its reader has changed to a user of its own
  start "$kdc_port" krb5kdc -n -r TEST
}

start_tinyproxy() {
  proxy_port=$(free_port)
  printf '%s\n' "Port $proxy_port" 'Listen 127.0.0.1' 'Timeout 30' 'MaxClients 10' "$@" >tinyproxy.conf
  start "$proxy_port" tinyproxy -d -c tinyproxy.conf
}

# It asks the system who may log in, which is told of one user more.
start_danted() {
  proxy_port=$(free_port)
  cat >danted.conf <<CONF
logoutput: $folder/danted.log
internal: 127.0.0.1 port = $proxy_port
external: lo
user.privileged: $(id -un)
user.unprivileged: $(id -un)
clientmethod: none
socksmethod: $1
client pass { from: 127.0.0.0/8 to: 0.0.0.0/0 }
socks pass { from: 127.0.0.0/8 to: 127.0.0.0/8 command: connect }
CONF
  { getent passwd; echo "$user:x:64999:64999::/:/bin/false"; } >passwd
  getent group >group
  echo "$user:$(openssl passwd -6 "$password"):19000:0:99999:7:::" >shadow
  start "$proxy_port" env LD_PRELOAD=libnss_wrapper.so NSS_WRAPPER_PASSWD="$folder/passwd" \
    NSS_WRAPPER_GROUP="$folder/group" NSS_WRAPPER_SHADOW="$folder/shadow" danted -f danted.conf -p danted.pid
}

# through STATUS PATTERN PROXY [PASSWORD]: a whole conversation, its exit status and what it prints
through() {
  expect "$1" "$2" list --broker "localhost:$port" --user alice --domain EXAMPLE --accept-disclaimer \
    --password-fd 0 --non-interactive --proxy "$3" ${4:+--proxy-user "$user" --proxy-password-fd 3} 3<<<"${4:-}"
  echo "  $3: $2"
}

printf '%s:%s\n' "$user" "$(openssl passwd -apr1 "$password")" >basic
printf '%s:test:%s\n' "$user" "$(printf '%s:test:%s' "$user" "$password" | md5sum | cut -d' ' -f1)" >digest

echo "squid, Basic"
start_squid basic "basic_ncsa_auth $folder/basic"
through 0 Office "http://localhost:$proxy_port" "$password"
through 2 'wants a log-in' "http://localhost:$proxy_port"
through 2 'refuses the log-in' "http://localhost:$proxy_port" wrong
echo "squid, Digest"
start_squid digest "digest_file_auth -c $folder/digest" 'auth_param digest realm test'
through 0 Office "http://localhost:$proxy_port" "$password"
through 2 'refuses the log-in' "http://localhost:$proxy_port" wrong
echo "squid, Negotiate"
start_kdc
start_squid negotiate "negotiate_kerberos_auth -k $folder/keytab -s HTTP/localhost@TEST"
through 2 'Negotiate: No Kerberos credentials available' "http://localhost:$proxy_port" "$password"
kinit "$user" <<<"$password" >/dev/null
through 0 Office "http://localhost:$proxy_port"
through 2 'Negotiate: Server HTTP/127.0.0.1@TEST not found' "http://127.0.0.1:$proxy_port"
echo "tinyproxy, dante"
start_tinyproxy
through 0 Office "http://localhost:$proxy_port"
start_tinyproxy "BasicAuth $user sesame"
through 0 Office "http://localhost:$proxy_port" sesame
start_danted none
through 0 Office "socks5://localhost:$proxy_port"
start_danted username
through 0 Office "socks5h://localhost:$proxy_port" "$password"
through 2 'refuses the log-in' "socks5h://localhost:$proxy_port" wrong
echo "networks: all as expected"
