export default function Modules() {
  return null;
}
