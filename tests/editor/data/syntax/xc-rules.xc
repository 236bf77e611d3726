chan c; par { master port p; select { case c :> int x: break; } }
slave void f(streaming chanend d);
