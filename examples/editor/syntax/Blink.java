public class Blink {
    private static final int PERIOD = 500; // milliseconds
    public static void main(String[] args) throws InterruptedException {
        boolean on = false;
        while (true) { on = !on; System.out.println(on ? "on" : "off"); Thread.sleep(PERIOD); }
    }
}
