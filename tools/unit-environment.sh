# Sourced by the scripts that run the task in a simulated unit.

# unshare as the unit's namespaces need it: for a user other than root, with
# a user namespace of its own first, in which the user is root (its uid and
# gid mapped to 0), as the kernel lets an ordinary user make network, PID and
# mount namespaces only inside one. Used as "${unit_unshare[@]}" OPTIONS...
unit_unshare=(unshare)
[ "$(id -u)" -eq 0 ] || unit_unshare+=(--map-root-user)

# Succeeds, printing the reason, when this machine refuses the namespaces
# that unshare OPTIONS... would make (unprivileged user namespaces turned
# off, a container without the rights); fails quietly when they can be made.
unit_namespaces_refused() {
    local why
    why=$("${unit_unshare[@]}" "$@" true 2>&1) && return 1
    echo "${unit_unshare[*]} $* refused here: ${why:-no reason given}"
}

# eth0 at 10.0.0.2/24, as on a unit; only inside a network namespace of its own.
make_unit_network() {
    ip link set lo up
    ip link add eth0 type veth peer name eth0-peer
    ip addr add 10.0.0.2/24 dev eth0
    ip link set eth0 up
    ip link set eth0-peer up
}

# The database directories, the task pipes and the environment of a family-9
# unit, all inside the directory $1.
make_unit_environment() {
    local unit=$1 model number=100
    mkdir -p "$unit"/{nonpersisted,systemdata,pingparameters,root,pid,transducers}
    export NONPERSISTED_DATABASE_ROOT="$unit/nonpersisted"
    export DATABASE_DIR_SYSTEM_DATA="$unit/systemdata"
    export DATABASE_DIR_PING_PARAMETERS="$unit/pingparameters"
    export ROOT_DIR="$unit/root"
    export PID_LOCATION="$unit/pid"
    export IPC_MASTER_BOTTOM_TASK="$unit/MasterBottomTask.fifo"
    export IPC_ERROR_HANDLER_TASK="$unit/ErrorHandlerTask.fifo"
    export IPC_LED_TASK="$unit/LedTask.fifo"
    export PRIMARY_PING_TASK_FILE_EXTENSTION=PPT
    export SECONDARY_PING_TASK_FILE_EXTENSTION=SPT
    export EMBEDDED_SERIAL_NUMBER_OVERRIDE=40321
    # Legacy transducer files; the caller fills the directory.
    export SUPPORTED_TRANSDUCER_DIR="$unit/transducers"
    export TRANSDUCER_ID_FILE_PREFIX=TransducerId
    export SPEED_TRANSDUCER_ID_FILE_PREFIX=SpeedTransducerId
    for model in ORVA1 ORVA2 ORVA3 ORVA4 ORVA5 ORVA6 ORVA7 ORVA8 ORVA9 ORVA10 ORVA11 \
                 BELTA BELTA2 CIRNA1 CIRNA2 CIRNA3 CIRNA4 DUSKO1 DUSKO2 DUSKO3 DUSKO4 DUSKO5; do
        export "PRODUCT_ID_$model=M${number}-$model"
        number=$((number + 1))
    done
    export PRODUCT_ID="${PRODUCT_ID_DUSKO5}-rev2"
    mkfifo "$IPC_MASTER_BOTTOM_TASK" "$IPC_ERROR_HANDLER_TASK" "$IPC_LED_TASK"
}
