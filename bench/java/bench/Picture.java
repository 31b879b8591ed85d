package bench;

import java.util.ArrayList;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Locale;
import java.util.Map;

/** Draws bars and curves as SVG. */
final class Picture {
    private static final int BAR = 200;
    private static final int WIDTH = 270;
    private static final int HEIGHT = 180;

    private final StringBuilder svg = new StringBuilder();

    Picture(int width, int height) {
        add("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%d\" height=\"%d\" viewBox=\"0 0 %1$d %2$d\">", width,
            height);
        add("<style>text { font: 13px sans-serif; fill: #222 } .title { font-size: 16px; font-weight: bold }"
            + " .heading { font-weight: bold } .note { font-size: 11px; fill: #666 } .ours { fill: #1f77b4 }"
            + " .other { fill: #b8b8b8 } .grid { stroke: #ddd } polyline { fill: none; stroke-width: 2 }"
            + " .tmpfs { stroke: #1f77b4 } .disk { stroke: #d9822b; stroke-dasharray: 6 3 }</style>");
        add("<rect width=\"100%%\" height=\"100%%\" fill=\"white\"/>");
    }

    private void add(String format, Object... values) {
        svg.append(String.format(Locale.ROOT, format, values)).append('\n');
    }

    void text(double x, double y, String style, String text) {
        add("<text x=\"%.0f\" y=\"%.0f\" class=\"%s\">%s</text>", x, y, style, text);
    }

    /** A name, a bar and its value; the longest bar stands for {@code highest}. */
    void bar(int x, int y, String name, String style, double value, double highest) {
        double length = BAR * value / highest;
        text(x, y + 15, "", name);
        add("<rect x=\"%d\" y=\"%d\" width=\"%.1f\" height=\"20\" class=\"%s\"/>", x + 180, y, length, style);
        text(x + 186 + length, y + 15, "", String.format(Locale.ROOT, "%.2f", value));
    }

    /** A piece of a curve and what it stands for. */
    void legend(int x, int y, String name, String style) {
        add("<line x1=\"%d\" x2=\"%d\" y1=\"%d\" y2=\"%3$d\" class=\"%s\" stroke-width=\"2\"/>", x, x + 26, y - 4,
            style);
        text(x + 32, y, "", name);
    }

    Plot plot(int x, int y, String title, int first, int last, int factor) {
        return new Plot(x, y, title, first, last, factor);
    }

    String svg() {
        return svg + "</svg>\n";
    }

    /**
     * Curves over counts, in a frame whose height fits the highest of them; twice as much is the same step everywhere.
     */
    final class Plot {
        private final int x;
        private final int y;
        private final String title;
        private final int first;
        private final int last;
        private final int factor;
        private final Map<String, List<double[]>> curves = new LinkedHashMap<>();
        private double highest = 4;

        private Plot(int x, int y, String title, int first, int last, int factor) {
            this.x = x;
            this.y = y;
            this.title = title;
            this.first = first;
            this.last = last;
            this.factor = factor;
        }

        void point(String style, int count, double value) {
            curves.computeIfAbsent(style, unknown -> new ArrayList<>()).add(new double[] {count, value});
            highest = Math.max(highest, value);
        }

        private double across(double count) {
            return x + 30 + (WIDTH - 40) * Math.log(count / first) / Math.log((double) last / first);
        }

        /** From a half at the bottom. */
        private double up(double value) {
            return y + HEIGHT - HEIGHT * Math.log(Math.max(value, 0.5) * 2) / Math.log(highest * 2.4);
        }

        void draw() {
            text(x, y - 6, "heading", title);
            for (double mark = 1; mark <= highest; mark *= 2) {
                add("<line x1=\"%d\" x2=\"%d\" y1=\"%.1f\" y2=\"%3$.1f\" class=\"grid\"/>", x + 26, x + WIDTH,
                    up(mark));
                text(x, up(mark) + 4, "", String.format("%.0f×", mark));
            }
            for (int count = first; count <= last; count *= factor) {
                text(across(count) - 3 * String.valueOf(count).length(), y + HEIGHT + 16, "", String.valueOf(count));
            }
            for (Map.Entry<String, List<double[]>> curve : curves.entrySet()) {
                StringBuilder points = new StringBuilder();
                curve.getValue().forEach(
                    point -> points.append(String.format(Locale.ROOT, "%.1f,%.1f ", across(point[0]), up(point[1]))));
                add("<polyline points=\"%s\" class=\"%s\"/>", points.toString().trim(), curve.getKey());
            }
        }
    }
}
