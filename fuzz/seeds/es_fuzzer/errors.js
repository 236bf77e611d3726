Echo("before");
var u;
// a statement without side effects generates no code, so this reads nothing
u.property;
Echo("still running");
Echo(u.property);
Echo("not reached");
