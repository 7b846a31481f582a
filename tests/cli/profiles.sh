# What holds where command line, environment and a profile say different things; part of trust_options.sh.

file=$folder/profiles/kavro-broker/config.toml
mkdir -p "$(dirname "$file")"
cat >"$file" <<TOML
profile = "office"
[office]
broker = "127.0.0.1:$port" # at work
user = "alice"
domain = "NOWHERE"
accept-disclaimer = true
trust-anchor = ["$folder/ca.der", "$folder/ca.pem"]
password-command = "sh -c 'echo \"wonderland\" # tiger'"
answer = "mail=tiger"
wait = true
[odd]
colour = "tiger"
[leaky]
password = "tiger"
TOML

# A row: variable | exit status | pattern | arguments
while IFS='|' read -r variable status pattern arguments; do
  (export XDG_CONFIG_HOME=$folder/profiles "${variable:-KAVRO_USER=}" && expect "$status" "$pattern" $arguments &&
    ! grep tiger <<<"$output")
done <<'ROWS'
|4|501|list
KAVRO_DOMAIN=EXAMPLE|0|Office|list
KAVRO_DOMAIN=NOWHERE|0|Office|list @office --domain EXAMPLE
|1|read from none:|list --password-file none
|1|there are: leaky, odd, office|--profile home list
KAVRO_PROFILE=odd|1|config.toml: "colour" cannot|list
|1|config.toml: "password" cannot .*password-command|list @leaky
KAVRO_LOG_LEVEL=loud|1|environment|list
KAVRO_USER=bob|0|"user",\s*"value": "bob",\s*"from": "environment"|config --json
|0|domain +EX +command line\s.*password-command +sh +/.*/config.toml\s|config --domain EX
ROWS
chmod 666 "$file"
XDG_CONFIG_HOME=$folder/profiles expect 0 'is not used: it may be written' config
