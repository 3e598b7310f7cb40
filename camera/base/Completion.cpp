// How completion works: the script in the shell collects the words typed so far and passes them to the program
// itself ("camera --complete WORD..."), which answers with the words that may follow. So both shells offer what the
// table of commands has, and the names of a running camera.

#include "camera/base/CommandLine.h"

#include <algorithm>
#include <set>

namespace camera::base {

namespace {

using Words = std::vector<std::string>;

/// Reads words, perhaps incomplete or wrong ones, up to the word that is being typed.
class Completer {
public:
    Completer(const Program& program, const Words& words)
        : _program(program),
          _current(words.empty() ? "" : words.back()),
          _before(words.begin(), words.empty() ? words.end() : words.end() - 1)
    {
    }

    Words lines()
    {
        const Command* command = findCommand();
        if (command != nullptr) {
            offerForCommand(*command);
        } else if (_matched == _before.size()) {
            offerCommands();
        }
        Words all = {_kind};
        all.insert(all.end(), _offered.begin(), _offered.end());
        return all;
    }

private:
    // Whether the words typed before begin with the command's name, or are the beginning of it.
    bool agrees(const Command& command)
    {
        std::size_t begin = 0;
        std::size_t count = 0;
        for (; begin < command.name.size() && count < _before.size(); ++count) {
            const std::size_t end = std::min(command.name.find(' ', begin), command.name.size());
            if (command.name.compare(begin, end - begin, _before[count]) != 0) {
                return false;
            }
            begin = end + 1;
        }
        _matched = count;
        _following = begin < command.name.size() ? command.name.substr(begin) : "";
        return true;
    }

    const Command* findCommand()
    {
        for (const Command& command : _program.commands) {
            if (agrees(command) && _following.empty()) {
                return &command;
            }
        }
        return nullptr;
    }

    void offerCommands()
    {
        for (const Command& command : _program.commands) {
            if (agrees(command)) {
                offer(_following.substr(0, _following.find(' ')));
            }
        }
        offer("--help");
    }

    void offerForCommand(const Command& command)
    {
        const Option* open = nullptr; // an option whose value comes next
        bool optionsEnded = false;
        std::size_t place = 0;
        for (auto word = _before.begin() + static_cast<std::ptrdiff_t>(_matched); word != _before.end(); ++word) {
            if (open != nullptr) {
                _typed.add(open->name, *word);
                open = nullptr;
            } else if (optionsEnded || !isOption(*word)) {
                ++place;
            } else {
                optionsEnded = *word == "--";
                open = takeOption(command, *word);
            }
        }
        if (open != nullptr) {
            return offerValue(*open->value);
        }
        if (!optionsEnded && isOption(_current) && _current.find('=') != std::string::npos) {
            const Option* option = optionNamed(command, _current.substr(0, _current.find('=')));
            _current.erase(0, _current.find('=') + 1);
            if (option != nullptr && option->value) {
                offerValue(*option->value);
            }
            return;
        }
        const bool hasArgument = offerArgument(command, place);
        if (!optionsEnded && (!hasArgument || _current.compare(0, 1, "-") == 0)) {
            offerOptions(command);
        }
    }

    // Keeps an option that was typed. @return the option when its value is the next word
    const Option* takeOption(const Command& command, const std::string& word)
    {
        const std::size_t equals = word.find('=');
        const Option* option = optionNamed(command, word.substr(0, equals));
        if (option == nullptr || (option->value && equals == std::string::npos)) {
            return option;
        }
        _typed.add(option->name, option->value ? word.substr(equals + 1) : "");
        return nullptr;
    }

    // Whether the command has an argument in this place.
    bool offerArgument(const Command& command, std::size_t place)
    {
        const std::vector<Argument>& arguments = command.arguments;
        const bool repeats = !arguments.empty() && arguments.back().count == Argument::Count::oneOrMore;
        if (place >= arguments.size() && !repeats) {
            return false;
        }
        offerValue(arguments[std::min(place, arguments.size() - 1)].value);
        return true;
    }

    void offerOptions(const Command& command)
    {
        for (const Option& option : command.options) {
            if (option.count == Option::Count::repeatable || !_typed.has(option.name)) {
                offer(option.name);
            }
        }
        offer("--help");
    }

    void offerValue(const Value& value)
    {
        for (const std::string& choice : value.choices) {
            offer(choice);
        }
        if (value.offer == Offer::files || value.offer == Offer::folders) {
            _kind = value.offer == Offer::files ? "files" : "folders";
        } else if (value.offer != Offer::nothing && _program.namesFor) {
            for (const std::string& name : _program.namesFor(value.offer, _typed)) {
                offer(name);
            }
        }
    }

    // A name with a line break is left out, because the script reads one name a line.
    void offer(const std::string& word)
    {
        if (!word.empty() && word.compare(0, _current.size(), _current) == 0 && word.find('\n') == std::string::npos) {
            _offered.insert(word);
        }
    }

    const Program& _program;
    std::string _current;
    const Words _before;
    std::size_t _matched = 0;
    std::string _following;
    Arguments _typed;
    std::string _kind = "words";
    std::set<std::string> _offered;
};

// Bash splits words at "=" and ":", also inside an option; the loop joins them again and removes quotes. "filenames"
// makes bash quote the words that are offered.
constexpr const char* kBashScript = R"(# Completion for bash: source <(camera completion bash)
_camera() {
    local current=${COMP_WORDS[COMP_CWORD]} word words=() found
    for word in "${COMP_WORDS[@]:1:COMP_CWORD}"; do
        word=${word//[\\\"\']/}
        if ((${#words[@]})) && [[ $word == [=:] || ${words[-1]} == *[=:] ]]; then
            words[-1]+=$word
        else
            words+=("$word")
        fi
    done
    current=${current#[=:]}
    mapfile -t found < <("${COMP_WORDS[0]}" --complete "${words[@]}" 2>/dev/null)
    COMPREPLY=("${found[@]:1}")
    compopt -o filenames 2>/dev/null
    case ${found[0]} in
        files) mapfile -t -O ${#COMPREPLY[@]} COMPREPLY < <(compgen -f -- "$current") ;;
        folders) mapfile -t -O ${#COMPREPLY[@]} COMPREPLY < <(compgen -d -- "$current") ;;
    esac
}
complete -F _camera camera camera-gateway camera-pipeline camera-services
)";

constexpr const char* kZshScript = R"(#compdef camera camera-gateway camera-pipeline camera-services
# Completion for zsh: source <(camera completion zsh), or this text as the file _camera in a folder of $fpath.
_camera() {
    local -a found
    found=("${(@f)$("${(Q)words[1]}" --complete "${(@Q)words[2,CURRENT]}" 2>/dev/null)}")
    if [[ $PREFIX == --*=* ]]; then
        compset -P '*='
    fi
    case $found[1] in
        files) _files ;;
        folders) _files -/ ;;
    esac
    compadd -- "${(@)found[2,-1]}"
}
if [[ $funcstack[1] == _camera ]]; then
    _camera "$@"
else
    compdef _camera camera camera-gateway camera-pipeline camera-services
fi
)";

} // namespace

std::vector<std::string> completions(const Program& program, const Words& words)
{
    return Completer(program, words).lines();
}

std::string completionScript(const std::string& shell)
{
    return shell == "bash" ? kBashScript : kZshScript;
}

} // namespace camera::base
