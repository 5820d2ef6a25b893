# Sourced by the scripts that run a simulated unit on this machine.

# Inside a network namespace of the caller's: loopback up, and eth0 with
# 10.0.0.2/24 as on a real unit.
unit_network() {
    ip link set lo up
    ip link add eth0 type veth peer name eth0-peer
    ip addr add 10.0.0.2/24 dev eth0
    ip link set eth0 up
    ip link set eth0-peer up
}

# The unit's directories, pipes and environment, all in directory $1: a
# family-9 unit with serial number 40321 and ping tasks PPT and SPT.
unit_environment() {
    local unit=$1 models number model
    mkdir -p "$unit"/{nonpersisted,systemdata,pingparameters,root,pid}
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
    models=(ORVA1 ORVA2 ORVA3 ORVA4 ORVA5 ORVA6 ORVA7 ORVA8 ORVA9 ORVA10 ORVA11
            BELTA BELTA2 CIRNA1 CIRNA2 CIRNA3 CIRNA4 DUSKO1 DUSKO2 DUSKO3 DUSKO4 DUSKO5)
    number=100
    for model in "${models[@]}"; do
        export "PRODUCT_ID_$model=M${number}-$model"
        number=$((number + 1))
    done
    export PRODUCT_ID="${PRODUCT_ID_DUSKO5}-rev2"
    mkfifo "$IPC_MASTER_BOTTOM_TASK" "$IPC_ERROR_HANDLER_TASK" "$IPC_LED_TASK"
}
