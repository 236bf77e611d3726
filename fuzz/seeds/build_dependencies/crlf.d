x.o: x.c
