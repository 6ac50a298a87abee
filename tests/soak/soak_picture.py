"""Latency and memory over the time of a soak, as an SVG."""

WIDTH, HEIGHT = 720, 200  # of each of the two panels' plots
LEFT, TOP, GAP = 70, 40, 60
SLICES = 60  # of the time, each of which has its median and its 99th percentile


def slices(latencies, seconds):
    """[(middle of the slice, median, 99th percentile)] of (when, seconds), in ms."""
    buckets = [[] for _ in range(SLICES)]
    for when, took in latencies:
        buckets[min(int(when / seconds * SLICES), SLICES - 1)].append(took * 1000)
    shown = []
    for number, bucket in enumerate(buckets):
        if bucket:
            bucket.sort()
            shown.append(((number + 0.5) * seconds / SLICES, bucket[len(bucket) // 2],
                          bucket[len(bucket) * 99 // 100]))
    return shown


def curve(points, seconds, most, top, colour):
    """A line through points of (seconds, value)."""
    path = " ".join(f"{LEFT + when / seconds * WIDTH:.1f},{top + HEIGHT * (1 - value / most):.1f}"
                    for when, value in points)
    return f'<polyline points="{path}" fill="none" stroke="{colour}" stroke-width="1.5"/>'


def panel(title, unit, curves, seconds, top):
    """A frame with its scale, and curves of [(name, colour, points)] in it."""
    most = max((value for _, _, points in curves for _, value in points), default=0) * 1.1 or 1
    parts = [f'<rect x="{LEFT}" y="{top}" width="{WIDTH}" height="{HEIGHT}" fill="none" '
             f'stroke="#888"/>',
             f'<text x="{LEFT}" y="{top - 8}" font-weight="bold">{title}</text>']
    for share in (0, 0.5, 1):
        parts.append(f'<text x="{LEFT - 6}" y="{top + HEIGHT * (1 - share) + 4:.0f}" '
                     f'text-anchor="end">{most * share:.4g} {unit}</text>')
    for number, (name, colour, points) in enumerate(curves):
        parts.append(curve(points, seconds, most, top, colour))
        parts.append(f'<text x="{LEFT + WIDTH - 130 * (len(curves) - number)}" y="{top - 8}" '
                     f'fill="{colour}">{name}</text>')
    for share in (0, 0.5, 1):
        parts.append(f'<text x="{LEFT + WIDTH * share}" y="{top + HEIGHT + 16}" '
                     f'text-anchor="middle">{seconds * share / 60:.3g} min</text>')
    return parts


def draw(path, samples, latencies):
    seconds = samples[-1]["seconds"]
    sliced = slices(latencies, seconds)
    parts = panel("latency of what was answered", "ms",
                  [("median", "#1565c0", [(when, median) for when, median, _ in sliced]),
                   ("99th percentile", "#c62828", [(when, high) for when, _, high in sliced])],
                  seconds, TOP)
    parts += panel("resident memory of all programs", "KiB",
                   [("memory", "#2e7d32", [(each["seconds"], each["KiB"]) for each in samples])],
                   seconds, TOP + HEIGHT + GAP)
    width, height = LEFT + WIDTH + 40, TOP + 2 * HEIGHT + GAP + 30
    with open(path, "w", encoding="utf-8") as picture:
        picture.write(f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" '
                      f'font-family="sans-serif" font-size="11">\n'
                      f'<rect width="{width}" height="{height}" fill="white"/>\n' +
                      "\n".join(parts) + "\n</svg>\n")
