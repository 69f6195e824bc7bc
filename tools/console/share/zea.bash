# Completion of zea's command line for bash. The options come from its own help.
_zea() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} words
  case $previous in
    --db | --key-file | --ca-file)
      mapfile -t COMPREPLY < <(compgen -f -- "$current")
      return
      ;;
    --provider) words='openai google deepseek ollama x anthropic alibaba bytedance moonshot' ;;
    *)
      if [ "$COMP_CWORD" -eq 1 ]; then
        words='ask chat models prompt sample --help --version'
      else
        words=$("${COMP_WORDS[0]}" "${COMP_WORDS[1]}" --help 2>/dev/null | grep -o '^  [-a-z,]*--[a-z-]*' | grep -o -- '--[a-z-]*')
      fi
      ;;
  esac
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}
complete -o filenames -F _zea zea
