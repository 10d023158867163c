#!/usr/bin/env bash
# Servers for git repositories on the loopback interface: HTTP and HTTPS, SSH, and git daemon.
#
#   servers.sh FOLDER REPOSITORIES
#
# All they need is made in FOLDER, where a file "users" says who is let in over HTTPS; over SSH it is
# the user that runs the script, with a key. When every server answers, the script prints its process
# id and the ports of HTTP, HTTPS, SSH and the daemon. It ends all of them when it is ended itself.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
folder=$1
repositories=$2
cd "$folder"
exec 2>servers.log

certificate() {
  openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 \
    -keyout "$1.key" -out "$1.pem" "${@:2}"
}
certificate authority -subj '/CN=Test authority'
certificate stranger -subj '/CN=Test authority'
certificate server -subj /CN=localhost -addext subjectAltName=DNS:localhost \
  -addext basicConstraints=critical,CA:FALSE -CA authority.pem -CAkey authority.key

# Private keys are named after what they are for and their type. The lists of known hosts, one a type
# of the server's keys, are made with the port.
key() { ssh-keygen -q -t "${1#*_}" -N "${2-}" -f "$1" "${@:3}"; }
for whose in host user; do
  key "${whose}_ed25519"
  key "${whose}_ecdsa"
  key "${whose}_rsa" "" -b 2048
done
key locked_ed25519 open
key locked_ecdsa open
cat user_*.pub locked_*.pub >authorized_keys
key stranger_ed25519

stop() {
  # shellcheck disable=SC2046
  kill $(jobs -p) || true
  wait
}
trap stop EXIT
trap exit TERM

start() {
  read -r http https ssh daemon < <(perl -MIO::Socket -e '
    my @held = map { IO::Socket::INET->new(LocalAddr => "127.0.0.1", Listen => 1) } 1 .. 4;
    print join(" ", map { $_->sockport } @held), "\n"')
  for file in nginx.conf sshd_config; do
    sed "s|@folder@|$folder|; s|@repositories@|$repositories|; s|@home@|$HOME|
         s|@http@|$http|; s|@https@|$https|; s|@ssh@|$ssh|" "$here/$file" >"$file"
  done
  for type in ed25519 ecdsa rsa; do
    echo "[localhost]:$ssh $(cat "host_$type.pub")" >"known_$type"
  done
  rm -f fastcgi
  /usr/sbin/fcgiwrap -s "unix:$folder/fastcgi" &
  /usr/sbin/nginx -p "$folder" -c nginx.conf -e nginx.log &
  /usr/sbin/sshd -D -e -f "$folder/sshd_config" &
  git daemon --reuseaddr --listen=127.0.0.1 --port="$daemon" --export-all --enable=receive-pack \
    --base-path="$repositories" &
}

# Asks again until the port answers as it should, for as long as every server runs.
answers() {
  until { printf '%s' "${2-}" >&3 && [[ -z ${3-} || $(head -n 1 <&3) == *$3* ]]; } \
    3<>"/dev/tcp/127.0.0.1/$1"; do
    [[ $(jobs -rp | wc -l) -eq 4 ]] || return 1
  done
}

# sshd keeps to a folder of the system's when it runs as root.
[[ $(id -u) -ne 0 ]] || mkdir -p /run/sshd

# Another program may take a port in between.
for _ in 1 2 3 4 5; do
  start >&2
  if answers "$http" $'GET /none HTTP/1.0\r\n\r\n' 404 && answers "$https" &&
    answers "$ssh" && answers "$daemon" && [[ $(jobs -rp | wc -l) -eq 4 ]]; then
    echo "$$ $http $https $ssh $daemon"
    wait
    exit
  fi
  stop
done
exit 1
