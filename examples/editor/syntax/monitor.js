// Polls the target and logs the counter.
function poll(target) {
    var value = target.read(0x20000000);
    if (typeof value !== "number") throw new Error("no value");
    return value;
}
