#compdef zea
# Completion of zea's command line for zsh. The options come from its own help.
_zea() {
  local previous=${words[CURRENT-1]}
  case $previous in
    --db | --key-file | --ca-file) _files; return ;;
    --provider) compadd openai google deepseek ollama x anthropic alibaba bytedance moonshot; return ;;
  esac
  if (( CURRENT == 2 )); then
    compadd ask chat models prompt sample
    [[ ${words[CURRENT]} == -* ]] && compadd -- --help --version
    return
  fi
  [[ ${words[CURRENT]} == -* ]] || return
  compadd -- ${(f)"$(${words[1]} ${words[2]} --help 2>/dev/null | grep -o '^  [-a-z,]*--[a-z-]*' | grep -o -- '--[a-z-]*')"}
}
_zea "$@"
