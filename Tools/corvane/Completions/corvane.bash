# Completion of corvane's options, and of what they take, for bash.

_corvane() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
  local options='--header --query --json --data --body-file --upload --form --content-type --gzip --curl
    --timeout --follow --user --auth --bearer --cookie --proxy --proxy-auth --no-proxy --cancel-after --retry --poll --count --repeat --serial --parallel --trust --wait-for-connectivity
    --accept-status --include --head --download --output --continue --digest --raw
    --report --timing --verbosity --help --version'
  COMPREPLY=()
  case $previous in
    --body-file | --upload | --output | --trust) mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
    --download) mapfile -t COMPREPLY < <(compgen -d -- "$current") ;;
    --follow) mapfile -t COMPREPLY < <(compgen -W 'no same-origin' -- "$current") ;;
    --auth | --proxy-auth) mapfile -t COMPREPLY < <(compgen -W 'basic digest' -- "$current") ;;
    --report) mapfile -t COMPREPLY < <(compgen -W 'json' -- "$current") ;;
    --verbosity) mapfile -t COMPREPLY < <(compgen -W 'none brief verbose' -- "$current") ;;
    --content-type)
      mapfile -t COMPREPLY < <(compgen -W 'application/json application/octet-stream text/plain' -- "$current") ;;
    --header | --query | --json | --data | --form | --timeout | --user | --bearer | --cookie | --proxy | --no-proxy | --cancel-after | --retry | --poll | --count | \
      --repeat | --parallel | --accept-status | --digest) ;;
    *)
      if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
      elif ((COMP_CWORD == 1)); then
        mapfile -t COMPREPLY < <(compgen -W 'GET HEAD POST PUT PATCH DELETE OPTIONS' -- "$current")
      fi
      ;;
  esac
}
complete -o filenames -F _corvane corvane
