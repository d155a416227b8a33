# Completion of orbis-host for bash: source this file, or put it where bash-completion looks.
_orbis_host() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} choices=
    [[ $word == -* ]] && before=  # no file's name
    case $before in
        --format)
            case ${COMP_WORDS[1]} in
                health | explain) choices="table json" ;;
                *) choices="table json jsonl text binary" ;;
            esac ;;
        --log-to) choices="journald eventlog" ;;
        --log-level) choices="trace debug info warning error off" ;;
        --machine | --plugin | --output | --baseline | --state | record | validate | show) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- "$word"); return ;;
        --watch | --count | --seconds | --deadline | --item | --only-when-rising) return ;;
        *)
            case ${COMP_WORDS[1]} in
                collect) choices="all PhysicalDiskStaticInfo PhysicalDiskDynamicInfo SmartStaticInfo SmartDynamicInfo SmartNvmeInfo
                    NvmeIdentifyControllerData --item --machine --format --log-level --deadline --skip-sleeping --no-skip-sleeping --watch --count --plugin --help" ;;
                health) choices="--format --baseline --only-when-rising --state --log-to --rules --item --machine --log-level --deadline --skip-sleeping --no-skip-sleeping --plugin --help" ;;
                explain) choices="all PhysicalDiskStaticInfo PhysicalDiskDynamicInfo SmartStaticInfo SmartDynamicInfo SmartNvmeInfo
                    NvmeIdentifyControllerData --item --machine --format --log-level --deadline --skip-sleeping --no-skip-sleeping --plugin --help" ;;
                report) choices="--output --baseline --with-identifiers --machine --log-level --deadline --skip-sleeping --no-skip-sleeping --plugin --help" ;;
                describe) choices="--plugin --help" ;;
                metrics) choices="--output --item --machine --log-level --deadline --skip-sleeping --no-skip-sleeping --plugin --help" ;;
                machine)
                    case ${COMP_WORDS[2]} in
                        record) choices="--machine --seconds --format --with-identifiers --log-level --deadline --plugin --help" ;;
                        validate | show) choices=--help ;;
                        *) choices="record validate show --help" ;;
                    esac ;;
                help) choices="describe collect metrics health explain report machine version" ;;
                *) choices="describe collect metrics health explain report machine help version --help --version" ;;
            esac ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$choices" -- "$word")
}
complete -F _orbis_host orbis-host
