: c CREATE , DOES> @ ; 5 c five five .
