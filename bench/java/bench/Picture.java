package bench;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Locale;

/**
 * Draws the columns × of README's table as bars: prints SVG. Run it as {@code java Picture.java README.md}.
 */
final class Picture {
    private static final int LEFT = 270;
    private static final int UNIT = 100; // the length of 1×
    private static final String STYLE = "text { font: 13px sans-serif; fill: #222; paint-order: stroke; stroke: #fff;"
        + " stroke-width: 3px } .page { fill: #fff } .memory { fill: #1f77b4 } .disk { fill: #d9822b }"
        + " .grid { stroke: #ccc } .one { stroke: #222 }"
        + " @media (prefers-color-scheme: dark) { text { fill: #ddd; stroke: #111 } .page { fill: #111 }"
        + " .memory { fill: #58a6e0 } .disk { fill: #eda04f } .grid { stroke: #444 } .one { stroke: #ddd } }";

    private final StringBuilder bars = new StringBuilder();
    private int y = 52;
    private double highest = 1;

    public static void main(String[] arguments) throws IOException {
        Picture picture = new Picture();
        for (String line : Files.readAllLines(Path.of(arguments[0]))) {
            String[] cells = line.split(" *\\| *");
            if (line.contains(" µs |") && !cells[1].equals("bare system calls")) {
                picture.row(cells);
            }
        }
        System.out.print(picture.svg());
    }

    /** Cells: nothing, name, time and multiple in memory, time and multiple on a disk. */
    private void row(String[] cells) {
        text(bars, 12, y + 24, cells[1]);
        bar("memory", cells[3]);
        bar("disk", cells[5]);
        y += 12;
    }

    private void bar(String style, String multiple) {
        double length = UNIT * Double.parseDouble(multiple);
        highest = Math.max(highest, Double.parseDouble(multiple));
        add(bars, "<rect x=\"%d\" y=\"%d\" width=\"%.0f\" height=\"16\" class=\"%s\"/>", LEFT, y, length, style);
        text(bars, LEFT + (int) length + 6, y + 13, multiple);
        y += 18;
    }

    private String svg() {
        int width = LEFT + (int) (UNIT * highest) + 60;
        StringBuilder svg = new StringBuilder();
        add(svg, "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%d\" height=\"%d\">", width, y);
        svg.append("<style>").append(STYLE).append("</style>\n");
        add(svg, "<rect width=\"100%%\" height=\"100%%\" class=\"page\"/>");
        for (int i = 0; i <= highest; i++) {
            add(svg, "<line x1=\"%d\" x2=\"%1$d\" y1=\"44\" y2=\"%d\" class=\"%s\"/>", LEFT + i * UNIT, y - 8,
                i == 1 ? "one" : "grid");
            text(svg, LEFT + i * UNIT - 6, 38, i + "×");
        }
        text(svg, LEFT + UNIT - 6, 20, "bare system calls");
        legend(svg, 12, "memory", "in memory");
        legend(svg, 120, "disk", "on a disk");
        return svg.append(bars).append("</svg>\n").toString();
    }

    private static void legend(StringBuilder svg, int x, String style, String name) {
        add(svg, "<rect x=\"%d\" y=\"9\" width=\"12\" height=\"12\" class=\"%s\"/>", x, style);
        text(svg, x + 18, 20, name);
    }

    private static void text(StringBuilder svg, int x, int y, String text) {
        add(svg, "<text x=\"%d\" y=\"%d\">%s</text>", x, y, text);
    }

    private static void add(StringBuilder svg, String format, Object... values) {
        svg.append(String.format(Locale.ROOT, format, values)).append('\n');
    }
}
