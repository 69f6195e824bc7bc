#!/usr/bin/env bash
# own_names.sh NM LIBRARY...: every name at namespace scope in what the libraries define for others, template arguments
# included, is theirs. Another one could be a host's as well, and inline functions of one name are merged without a word.
set -euo pipefail
nm=$1
shift
language='abi|bool|char|const|declval|decltype|double|false|for|int|long|name|non|nullptr|short|signed|std|thunk|to|true'
language+='|typeinfo|unsigned|virtual|void|vtable|guard|variable|lambda|__[a-z]\w*'
borrowed='[Cc]url_\w+|curlsocktype|ssl_\w+|sqlite3|pg_conn|pg_result|st_mysql\w*' # types of parameters
own='(CM|CO|IC|I?ZEA|QX|qx)\w*|zea|zeakit|zeasqlite|zeapostgresql|zeamariadb'
"$nm" -C -g --defined-only "$@" | sed -nE '/DW\.ref\./d; s/^[0-9a-f]+ [A-Za-z] //p' > defined.txt
grep -q '^qx::' defined.txt
grep -q '^zea::' defined.txt
grep -q '^zeakit::' defined.txt
! grep -oP '(?<![\w:~])[A-Za-z_]\w*' defined.txt | sort -u | grep -vxP "$language|$borrowed|$own"
